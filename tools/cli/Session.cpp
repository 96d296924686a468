// Session options, answers and progress of the server commands.
#include "Session.h"

#include "Output.h"

#include <VORKCoreCommC/VORKCoreCommC.h>

#include <termios.h>
#include <unistd.h>

#include <cctype>
#include <cstdlib>
#include <cstring>
#include <fcntl.h>
#include <fstream>
#include <vector>

namespace vorkcomm {

const char *const kSessionOptions = "server= user= password-file= insecure xml";

const char *const kSessionUsage =
    "[--server ADDRESS] [--user NAME] [--password-file PATH] [--insecure] [--xml]";

namespace {

// Titles and messages of the status codes the server and the library use.
struct StatusText {
    int code;
    const char *title;
    const char *message;
};
const StatusText kStatusTexts[] = {
    {0, "Success", "The action was completed successfully."},
    {1301, "Invalid Message Content", "The message does not contain the information necessary to perform the action."},
    {1302, "Invalid Message", "The message could not be parsed."},
    {1303, "Invalid Device Information", "A unique identifier for the device is required to perform the action."},
    {1400, "Authentication Error", "An authentication error has occurred."},
    {1410, "Permission Error", "The user specified does not have permission to perform the action."},
    {1411, "Invalid Login Parameters", "The user specified could not be found."},
    {1421, "Device Not Found", "The device specified could not be found."},
    {1500, "Security Error", "A security error has occurred."},
    {1501, "Device Signature Error", "A valid device signature is required to perform the action."},
    {1503, "Certificate Creation Error", "An error has occurred while creating the certificate."},
    {1504, "Clock Skew Error", "There is a discrepancy between the local time and the ZEL server time."},
    {1601, "CRUD Operation Error", "An error has occurred while creating, reading, updating or deleting a device."},
    {1602, "ZEL Initialization Error", "The ZEL has encountered an error while starting up."},
    {1998, "Unknown ZEL Error", "An unknown internal error has occurred."},
    {1999, "Unknown Error", "An unknown error has occurred."},
    {2100, "Policy Execution Error", "TODO"},
    {2101, "Error Updating Management Password", "TODO"},
};

constexpr int kCommunicationFailure = 1999;

std::string trimLineBreak(std::string line) {
    while (!line.empty() && (line.back() == '\n' || line.back() == '\r')) line.pop_back();
    return line;
}

}  // namespace

std::optional<std::string> serverFromOptions(const Options &options) {
    std::string typed = options.get("server");
    if (typed.empty()) {
        const char *env = std::getenv("VORKCOMM_SERVER");
        if (env) typed = env;
    }
    if (typed.empty()) return std::nullopt;
    const char *url = zelURLFromUserInput(typed.c_str());
    if (!url) return std::nullopt;
    return std::string(url);
}

std::optional<std::string> readPasswordFile(const std::string &path) {
    std::ifstream in(path);
    if (!in) return std::nullopt;
    std::string line;
    std::getline(in, line);
    if (in.bad()) return std::nullopt;
    return trimLineBreak(line);
}

std::optional<std::string> promptPassword(const std::string &prompt) {
    int fd = ::open("/dev/tty", O_RDWR | O_CLOEXEC);
    if (fd < 0) return std::nullopt;
    termios saved{};
    if (::tcgetattr(fd, &saved) != 0) {
        ::close(fd);
        return std::nullopt;
    }
    termios quiet = saved;
    quiet.c_lflag &= ~static_cast<tcflag_t>(ECHO);
    quiet.c_lflag |= ECHONL;
    ::tcsetattr(fd, TCSAFLUSH, &quiet);
    ssize_t ignored = ::write(fd, prompt.data(), prompt.size());
    (void)ignored;
    std::string line;
    char c;
    while (::read(fd, &c, 1) == 1 && c != '\n') line.push_back(c);
    ::tcsetattr(fd, TCSAFLUSH, &saved);
    ::close(fd);
    return trimLineBreak(line);
}

int configureSession(const Options &options) {
    auto server = serverFromOptions(options);
    if (!server) {
        std::fprintf(stderr, "vorkcomm: no server: give --server ADDRESS (or set VORKCOMM_SERVER)\n");
        return kExitUsage;
    }
    setZelUrl(server->c_str());
    if (options.has("user")) {
        setZelUsername(options.get("user").c_str());
        std::optional<std::string> password;
        if (options.has("password-file")) {
            password = readPasswordFile(options.get("password-file"));
            if (!password) {
                std::fprintf(stderr, "vorkcomm: cannot read the password file %s\n",
                             options.get("password-file").c_str());
                return kExitUsage;
            }
        } else {
            password = promptPassword("Password for " + options.get("user") + ": ");
        }
        if (password) setZelPassword(password->c_str());
        // The copy in this process goes away with the optional; wipe it first.
        if (password) std::fill(password->begin(), password->end(), '\0');
    }
    setAllowInvalidCertificate(options.has("insecure") ? 1 : 0);
    return kExitOk;
}

std::string statusDescription(int code) {
    for (const StatusText &s : kStatusTexts)
        if (s.code == code) return std::string(s.title) + " - " + s.message;
    return " - ";
}

std::optional<std::string> elementText(std::string_view xml, std::string_view localName, size_t from) {
    // Opening tag: "<name" or "<prefix:name" followed by ">", "/" or blank.
    size_t pos = from;
    while ((pos = xml.find('<', pos)) != std::string_view::npos) {
        size_t nameStart = pos + 1;
        size_t nameEnd = nameStart;
        while (nameEnd < xml.size() && !std::isspace(static_cast<unsigned char>(xml[nameEnd])) &&
               xml[nameEnd] != '>' && xml[nameEnd] != '/')
            ++nameEnd;
        std::string_view name = xml.substr(nameStart, nameEnd - nameStart);
        std::string_view local = name.substr(name.find(':') == std::string_view::npos ? 0 : name.find(':') + 1);
        if (local == localName && !name.empty() && name[0] != '/') {
            size_t close = xml.find('>', nameEnd);
            if (close == std::string_view::npos) return std::nullopt;
            if (xml[close - 1] == '/') return std::string();
            std::string endTag = "</" + std::string(name) + ">";
            size_t end = xml.find(endTag, close + 1);
            if (end == std::string_view::npos) return std::nullopt;
            return std::string(xml.substr(close + 1, end - close - 1));
        }
        pos = nameEnd;
    }
    return std::nullopt;
}

Answer readAnswer(std::string_view xml) {
    Answer answer;
    size_t content = xml.find("<content");
    if (content == std::string_view::npos) return answer;
    auto status = elementText(xml, "status", content);
    if (!status) return answer;
    auto code = elementText(*status, "code");
    if (!code) return answer;
    answer.parsed = true;
    answer.code = std::atoi(code->c_str());
    answer.description = statusDescription(answer.code);
    return answer;
}

std::string prettyXml(std::string_view xml) {
    enum Kind { Declaration, Start, End, Empty, Text };
    struct Token {
        Kind kind;
        std::string_view text;
    };
    std::vector<Token> tokens;
    size_t i = 0;
    while (i < xml.size()) {
        if (xml[i] == '<') {
            size_t close = xml.find('>', i);
            if (close == std::string_view::npos) close = xml.size() - 1;
            std::string_view tag = xml.substr(i, close - i + 1);
            Kind kind = Start;
            if (tag.size() > 1 && (tag[1] == '?' || tag[1] == '!')) kind = Declaration;
            else if (tag.size() > 1 && tag[1] == '/') kind = End;
            else if (tag.size() > 1 && tag[tag.size() - 2] == '/') kind = Empty;
            tokens.push_back({kind, tag});
            i = close + 1;
        } else {
            size_t next = xml.find('<', i);
            if (next == std::string_view::npos) next = xml.size();
            std::string_view text = xml.substr(i, next - i);
            bool blank = true;
            for (char c : text)
                if (!std::isspace(static_cast<unsigned char>(c))) blank = false;
            if (!blank) tokens.push_back({Text, text});
            i = next;
        }
    }
    std::string out;
    int depth = 0;
    auto indent = [&] { out.append(static_cast<size_t>(std::max(depth, 0)) * 2, ' '); };
    for (size_t t = 0; t < tokens.size(); ++t) {
        const Token &token = tokens[t];
        switch (token.kind) {
        case Start:
            indent();
            out.append(token.text);
            if (t + 2 < tokens.size() && tokens[t + 1].kind == Text && tokens[t + 2].kind == End) {
                out.append(tokens[t + 1].text).append(tokens[t + 2].text);
                t += 2;
            } else if (t + 1 < tokens.size() && tokens[t + 1].kind == End) {
                out.append(tokens[t + 1].text);
                t += 1;
            } else {
                ++depth;
            }
            break;
        case End:
            --depth;
            indent();
            out.append(token.text);
            break;
        case Declaration:
        case Empty:
        case Text:
            indent();
            out.append(token.text);
            break;
        }
        out.push_back('\n');
    }
    return out;
}

int reportAnswer(const char *xml, const Options &options, const char *what) {
    std::string_view text = xml ? xml : "";
    Answer answer = readAnswer(text);
    std::vector<Field> fields{{"command", std::string(what)}};
    if (answer.parsed) {
        fields.push_back({"status", static_cast<long long>(answer.code)});
        fields.push_back({"description", answer.description});
    } else {
        fields.push_back({"status", nullptr});
    }
    if (options.has("xml")) fields.push_back({"xml", std::string(text)});
    std::string human = options.has("xml") ? prettyXml(text) : std::string();
    char line[512];
    int rc;
    if (!answer.parsed) {
        std::snprintf(line, sizeof line, "%s: the answer carries no status\n", what);
        rc = kExitFailure;
    } else if (answer.code == kCommunicationFailure) {
        std::snprintf(line, sizeof line,
                      "%s: status %d: ZEL Communication Exception - no usable answer from the server "
                      "(not reachable, refused, HTTP error or unreadable reply)\n",
                      what, answer.code);
        rc = kExitUnreachable;
    } else {
        std::snprintf(line, sizeof line, "%s: status %d: %s\n", what, answer.code, answer.description.c_str());
        rc = answer.code == 0 ? kExitOk : kExitFailure;
    }
    return emit(options, human + line, std::move(fields), rc);
}

}  // namespace vorkcomm
