/* An operating-system version with its comparisons and wild-card matching. */
#ifndef VORKCORECOMMC_SYSINFO_VORKOPERATINGSYSTEM_H
#define VORKCORECOMMC_SYSINFO_VORKOPERATINGSYSTEM_H

#include <cstdint>
#include <string>
#include <vector>

#include "VORKCoreCommC/export.h"

namespace vork {

/**
 * A version "major.minor.point". Parsing splits the text on "."; missing
 * parts are 0, parts beyond the third are ignored, and a part that is not a
 * number (white space around it allowed) counts as 0. versionString() is the
 * normalised form: "10.8" becomes "10.8.0", "10.7.5.1" becomes "10.7.5",
 * "10.x.2" becomes "10.0.2".
 */
class VORK_EXPORT VORKOperatingSystem {
public:
    /** initWithVersionString: keeps the text and parses it. */
    explicit VORKOperatingSystem(const std::string &versionString);

    /** Parses versionString() into the three numbers and normalises it. */
    void parseVersionString();

    /** Ordering by major, then minor, then point (numbers, not text). */
    bool isLessThan(const VORKOperatingSystem &other) const;
    /** isLessThan or isEqualToVORKOperatingSystem. */
    bool isLessThanOrEqualTo(const VORKOperatingSystem &other) const;
    /** Neither less than nor equal. */
    bool isGreaterThan(const VORKOperatingSystem &other) const;
    /** isGreaterThan or isEqualToVORKOperatingSystem. */
    bool isGreaterThanOrEqualTo(const VORKOperatingSystem &other) const;
    /** Equal normalised version texts. */
    bool isEqualToVORKOperatingSystem(const VORKOperatingSystem &other) const;

    /** isLessThan against a version text parsed as by the constructor. */
    bool isLessThanVersionString(const std::string &version) const;
    /** isLessThanOrEqualTo against a version text parsed as by the constructor. */
    bool isLessThanOrEqualToVersionString(const std::string &version) const;
    /** isGreaterThan against a version text parsed as by the constructor. */
    bool isGreaterThanVersionString(const std::string &version) const;
    /** isGreaterThanOrEqualTo against a version text parsed as by the constructor. */
    bool isGreaterThanOrEqualToVersionString(const std::string &version) const;
    /** isEqualToVORKOperatingSystem against a version text parsed as by the constructor. */
    bool isEqualToOsString(const std::string &version) const;

    /**
     * Whether this version matches a pattern such as "10.8.x" with wild card
     * "x". The wild card stands for any number in the minor and point places
     * only; parts are compared as text after trimming. Deliberately: a wild
     * card in the first place, a one-part pattern, and a wild minor with a
     * specific point ("10.x.5") never match; "10.08.x" does not match 10.8.3.
     */
    bool matchesVersionString(const std::string &pattern, const std::string &wildCard) const;

    /**
     * The three parts of a wild-card pattern: a two-part pattern gets the wild
     * card as its third part; a pattern of fewer than two parts, or with a
     * wild minor and a specific point, becomes three wild cards. Longer
     * patterns keep all their parts.
     */
    static std::vector<std::string> versionStringPartsFromWildCardString(const std::string &pattern,
                                                                         const std::string &wildCard);

    /** The normalised version text "major.minor.point". */
    const std::string &versionString() const { return versionString_; }
    /** The first number of the version. */
    int32_t majorVersion() const { return majorVersion_; }
    /** The second number of the version (0 when missing). */
    int32_t minorVersion() const { return minorVersion_; }
    /** The third number of the version (0 when missing). */
    int32_t pointVersion() const { return pointVersion_; }
    /** The product name, filled in by VORKSystemInformation ("" otherwise). */
    const std::string &productName() const { return productName_; }
    /** Sets the product name. */
    void setProductName(const std::string &name) { productName_ = name; }
    /** The build, filled in by VORKSystemInformation ("" otherwise). */
    const std::string &buildVersion() const { return buildVersion_; }
    /** Sets the build. */
    void setBuildVersion(const std::string &build) { buildVersion_ = build; }

private:
    std::string versionString_;
    int32_t majorVersion_ = 0;
    int32_t minorVersion_ = 0;
    int32_t pointVersion_ = 0;
    std::string productName_;
    std::string buildVersion_;
};

}  // namespace vork

#endif
