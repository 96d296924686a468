#pragma once
// Trust settings: certificates trusted as roots, in three domains, each a
// PEM file under the system root:
//   system  "/Library/Security/Trust Settings/System.pem"   (root only)
//   admin   "/Library/Security/Trust Settings/Admin.pem"    (root or the
//           managing-users group)
//   user    "/Library/Security/Trust Settings/Users/<uid>.pem" (the caller)
// A domain refuses a caller without its privilege (errAuthorizationDenied).
// A write replaces the file through a temporary file and a rename, so a
// reader sees the old list or the new one. The library's HTTPS verification
// trusts every certificate of the three domains beside the system's
// authorities.
#include <string>
#include <vector>

#include "VORKCoreCommC/security/SecurityTypes.h"

namespace vork::sec {

enum class TrustDomain { System, Admin, User };

// Trusts the certificate (DER) in the domain.
OSStatus setTrust(const std::string &der, TrustDomain domain);
// Drops the certificate from every domain the caller may write; answers
// errSecItemNotFound when it was in none of them.
OSStatus removeTrust(const std::string &der);
// Every trusted certificate (DER) of the three domains, without repeats.
// Read at most once a second: a change through setTrust or removeTrust
// shows at once, a file another process writes within the second.
std::vector<std::string> trustedCertificates();

}  // namespace vork::sec
