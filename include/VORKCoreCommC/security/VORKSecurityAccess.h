#pragma once
#include <optional>
#include <string>
#include <vector>

#include "VORKCoreCommC/security/SecurityTypes.h"

namespace vork {

/**
 * Who may use a keychain item without being asked: either a list of trusted
 * programs (by executable path) or the super-user only. The store checks it
 * against the running program whenever a private key is used; anyone else
 * gets errSecInteractionNotAllowed. Copies share the same access list.
 */
class VORK_EXPORT VORKSecurityAccess {
public:
    /**
     * Trusted programs at the paths (each recorded by its canonical path);
     * descriptor names the list. The first path that names no program is
     * reported (errSecParam) and the answer is none.
     */
    static std::optional<VORKSecurityAccess> accessForApplicationsAtPaths(const std::vector<std::string> &paths,
                                                                          const std::string &descriptor,
                                                                          DomainError *error);
    /** Only user 0 may use the items; never fails (the error is left alone). */
    static std::optional<VORKSecurityAccess> accessForOnlyRoot(DomainError *error);

    /** Wraps an access list of the store; the wrapper shares ownership of it. */
    explicit VORKSecurityAccess(SecAccessRef reference);
    /** The wrapped access list. */
    const SecAccessRef &reference() const { return reference_; }

private:
    SecAccessRef reference_;
};

}  // namespace vork
