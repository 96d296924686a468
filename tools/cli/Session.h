#pragma once
// What the server commands share: the session options (server address,
// user, password, certificate switch) and reading the library's answer.
//
// Session options of every server command:
//   --server ADDRESS      the management server as a user types it; it is
//                         normalised as the library does (scheme, port)
//   --user NAME           user for basic authentication
//   --password-file PATH  first line of the file is the password; without it
//                         and with --user, the password is asked for on the
//                         terminal with echo off
//   --insecure            accept a server certificate that fails validation
//   --xml                 print the whole answer, pretty-printed
// The environment variable VORKCOMM_SERVER stands in for --server.
#include <cstdio>
#include <optional>
#include <string>
#include <string_view>

#include "Command.h"

namespace vorkcomm {

// The option summary printed under each server command's usage.
extern const char *const kSessionUsage;

// Applies the session options to the library's server session. Answers
// kExitOk, or kExitUsage after printing why (no server, unreadable file).
int configureSession(const Options &options);

// The server URL the options name (normalised), or none.
std::optional<std::string> serverFromOptions(const Options &options);

// First line of a password file, without its line break; none when the file
// cannot be read.
std::optional<std::string> readPasswordFile(const std::string &path);
// Asks on the controlling terminal with echo switched off; none without a
// terminal.
std::optional<std::string> promptPassword(const std::string &prompt);

// The first content's status of a response message's XML.
struct Answer {
    bool parsed = false;      // a status code was found
    int code = -1;
    std::string description;  // "title - message" of the code
};
Answer readAnswer(std::string_view xml);
std::string statusDescription(int code);

// Text between the first <name ...> and its </name> (any prefix), or none.
std::optional<std::string> elementText(std::string_view xml, std::string_view localName, size_t from = 0);

// Indented form of compact XML, one element per line; an element holding
// only text stays on one line.
std::string prettyXml(std::string_view xml);

// Prints the answer of a server call ("status N: description" and, with
// --xml, the document; with --json an object with the status, its
// description and, with --xml, the document) and answers the exit code: ok for status 0,
// unreachable for the library's communication failure (1999), failure for
// any other status.
int reportAnswer(const char *xml, const Options &options, const char *what);

}  // namespace vorkcomm
