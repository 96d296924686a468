#pragma once
// VORKSecurityAccess: who may use a keychain item without being asked.
// Either a list of trusted programs (by executable path) or the super-user
// only. The store checks it against the running program whenever a private
// key is used; anyone else gets errSecInteractionNotAllowed.
#include <optional>
#include <string>
#include <vector>

#include "VORKCoreCommC/security/SecurityTypes.h"

namespace vork {

class VORK_EXPORT VORKSecurityAccess {
public:
    // Trusted programs at the paths; the first path that names no program
    // is reported (errSecParam) and the answer is none.
    static std::optional<VORKSecurityAccess> accessForApplicationsAtPaths(const std::vector<std::string> &paths,
                                                                          const std::string &descriptor,
                                                                          DomainError *error);
    // Only user 0 may use the items.
    static std::optional<VORKSecurityAccess> accessForOnlyRoot(DomainError *error);

    explicit VORKSecurityAccess(SecAccessRef reference);
    const SecAccessRef &reference() const { return reference_; }

private:
    SecAccessRef reference_;
};

}  // namespace vork
