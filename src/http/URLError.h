#pragma once
// Failures of the URL-loading layer, in the form the rest of the library
// (and the agent) reads them: a domain text, an integer code and an info
// dictionary whose "NSLocalizedDescription" entry is the text shown.
// Transport failures of libcurl are mapped onto the URL error codes and
// descriptions of the platform's URL loading (NSURLErrorDomain), so that
// the response-code and retry rules built on those codes hold.
#include <curl/curl.h>

#include <map>
#include <optional>
#include <string>

#include "base/Export.h"

namespace vork {

inline constexpr const char *kURLErrorDomain = "NSURLErrorDomain";
inline constexpr const char *kLocalizedDescriptionKey = "NSLocalizedDescription";
inline constexpr const char *kFailingURLStringKey = "NSErrorFailingURLStringKey";
inline constexpr const char *kUnderlyingErrorKey = "NSUnderlyingError";

// The URL error codes the library produces.
enum URLErrorCode : long {
    kURLErrorUnknown = -1,
    kURLErrorCancelled = -999,
    kURLErrorBadURL = -1000,
    kURLErrorTimedOut = -1001,
    kURLErrorUnsupportedURL = -1002,
    kURLErrorCannotFindHost = -1003,
    kURLErrorCannotConnectToHost = -1004,
    kURLErrorNetworkConnectionLost = -1005,
    kURLErrorHTTPTooManyRedirects = -1007,
    kURLErrorBadServerResponse = -1011,
    kURLErrorUserAuthenticationRequired = -1013,
    kURLErrorZeroByteResource = -1014,
    kURLErrorCannotDecodeContentData = -1016,
    kURLErrorCannotParseResponse = -1017,
    kURLErrorRequestBodyStreamExhausted = -1021,
    kURLErrorFileDoesNotExist = -1100,
    kURLErrorNoPermissionsToReadFile = -1102,
    kURLErrorDataLengthExceedsMaximum = -1103,
    kURLErrorSecureConnectionFailed = -1200,
    kURLErrorServerCertificateHasBadDate = -1201,
    kURLErrorServerCertificateUntrusted = -1202,
    kURLErrorServerCertificateHasUnknownRoot = -1203,
    kURLErrorServerCertificateNotYetValid = -1204,
    kURLErrorClientCertificateRejected = -1205,
    kURLErrorClientCertificateRequired = -1206,
    kURLErrorCannotWriteToFile = -3003,
};

class VORK_EXPORT URLError {
public:
    URLError() = default;
    URLError(std::string domain, long code, std::map<std::string, std::string> userInfo = {})
        : domain_(std::move(domain)), code_(code), userInfo_(std::move(userInfo)) {}

    const std::string &domain() const { return domain_; }
    long code() const { return code_; }
    const std::map<std::string, std::string> &userInfo() const { return userInfo_; }

    // The info entry when present, otherwise the platform's generic text
    // "The operation couldn’t be completed. (<domain> error <code>.)".
    std::string localizedDescription() const;

    // A URL error of NSURLErrorDomain with the platform's description for
    // the code (host fills "%@" where the text names the server).
    static URLError urlError(long code, const std::string &failingUrl, const std::string &host);
    // The platform's description of a URL error code.
    static std::string descriptionForCode(long code, const std::string &host);

private:
    std::string domain_;
    long code_ = 0;
    std::map<std::string, std::string> userInfo_;
};

// The URL error code for a libcurl failure.
long urlErrorCodeForCurl(CURLcode code);

}  // namespace vork
