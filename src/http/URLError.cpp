#include "http/URLError.h"

#include "base/Format.h"

namespace vork {

std::string URLError::localizedDescription() const {
    if (auto it = userInfo_.find(kLocalizedDescriptionKey); it != userInfo_.end()) return it->second;
    return stringf("The operation couldn\u2019t be completed. (%s error %ld.)", domain_.c_str(), code_);
}

std::string URLError::descriptionForCode(long code, const std::string &host) {
    // The texts the platform's URL loading gives for its error codes.
    const char *pretending = "You might be connecting to a server that is pretending to be \u201c%s\u201d which "
                             "could put your confidential information at risk.";
    switch (code) {
    case kURLErrorCancelled: return "cancelled";
    case kURLErrorBadURL: return "bad URL";
    case kURLErrorTimedOut: return "The request timed out.";
    case kURLErrorUnsupportedURL: return "unsupported URL";
    case kURLErrorCannotFindHost: return "A server with the specified hostname could not be found.";
    case kURLErrorCannotConnectToHost: return "Could not connect to the server.";
    case kURLErrorNetworkConnectionLost: return "The network connection was lost.";
    case kURLErrorHTTPTooManyRedirects: return "too many HTTP redirects";
    case kURLErrorBadServerResponse: return "bad server response";
    case kURLErrorUserAuthenticationRequired: return "The operation couldn\u2019t be completed. (NSURLErrorDomain error -1013.)";
    case kURLErrorZeroByteResource: return "zero byte resource";
    case kURLErrorCannotDecodeContentData: return "cannot decode content data";
    case kURLErrorCannotParseResponse: return "cannot parse response";
    case kURLErrorRequestBodyStreamExhausted: return "request body stream exhausted";
    case kURLErrorFileDoesNotExist: return "The requested URL was not found on this server.";
    case kURLErrorNoPermissionsToReadFile: return "You do not have permission to access the requested resource.";
    case kURLErrorDataLengthExceedsMaximum: return "resource exceeds maximum size";
    case kURLErrorSecureConnectionFailed:
        return "An SSL error has occurred and a secure connection to the server cannot be made.";
    case kURLErrorServerCertificateHasBadDate:
        return "The certificate for this server has expired. " + stringf(pretending, host.c_str());
    case kURLErrorServerCertificateUntrusted:
        return "The certificate for this server is invalid. " + stringf(pretending, host.c_str());
    case kURLErrorServerCertificateHasUnknownRoot:
        return "The certificate for this server was signed by an unknown certifying authority. " +
               stringf(pretending, host.c_str());
    case kURLErrorServerCertificateNotYetValid:
        return "The certificate for this server is not yet valid. " + stringf(pretending, host.c_str());
    case kURLErrorClientCertificateRejected:
        return stringf("The server \u201c%s\u201d did not accept the certificate.", host.c_str());
    case kURLErrorClientCertificateRequired:
        return stringf("The server \u201c%s\u201d requires a client certificate.", host.c_str());
    case kURLErrorCannotWriteToFile: return "cannot write file";
    default: return "unknown error";
    }
}

URLError URLError::urlError(long code, const std::string &failingUrl, const std::string &host) {
    std::map<std::string, std::string> info{{kLocalizedDescriptionKey, descriptionForCode(code, host)}};
    if (!failingUrl.empty()) info[kFailingURLStringKey] = failingUrl;
    return URLError(kURLErrorDomain, code, std::move(info));
}

long urlErrorCodeForCurl(CURLcode code) {
    // One table for every transport failure libcurl reports.
    switch (code) {
    case CURLE_UNSUPPORTED_PROTOCOL: return kURLErrorUnsupportedURL;
    case CURLE_URL_MALFORMAT: return kURLErrorBadURL;
    case CURLE_COULDNT_RESOLVE_PROXY:
    case CURLE_COULDNT_RESOLVE_HOST: return kURLErrorCannotFindHost;
    case CURLE_COULDNT_CONNECT: return kURLErrorCannotConnectToHost;
    case CURLE_WEIRD_SERVER_REPLY: return kURLErrorBadServerResponse;
    case CURLE_REMOTE_ACCESS_DENIED: return kURLErrorNoPermissionsToReadFile;
    case CURLE_HTTP2:
    case CURLE_HTTP2_STREAM:
    case CURLE_PARTIAL_FILE:
    case CURLE_GOT_NOTHING:
    case CURLE_SEND_ERROR:
    case CURLE_RECV_ERROR: return kURLErrorNetworkConnectionLost;
    case CURLE_WRITE_ERROR: return kURLErrorCannotWriteToFile;
    case CURLE_READ_ERROR:
    case CURLE_SEND_FAIL_REWIND: return kURLErrorRequestBodyStreamExhausted;
    case CURLE_OPERATION_TIMEDOUT: return kURLErrorTimedOut;
    case CURLE_RANGE_ERROR: return kURLErrorBadServerResponse;
    case CURLE_ABORTED_BY_CALLBACK: return kURLErrorCancelled;
    case CURLE_TOO_MANY_REDIRECTS: return kURLErrorHTTPTooManyRedirects;
    case CURLE_PEER_FAILED_VERIFICATION: return kURLErrorServerCertificateUntrusted;
    case CURLE_SSL_CONNECT_ERROR:
    case CURLE_SSL_ENGINE_NOTFOUND:
    case CURLE_SSL_ENGINE_SETFAILED:
    case CURLE_SSL_CIPHER:
    case CURLE_SSL_CACERT_BADFILE:
    case CURLE_SSL_SHUTDOWN_FAILED:
    case CURLE_SSL_CRL_BADFILE:
    case CURLE_SSL_ISSUER_ERROR:
    case CURLE_SSL_PINNEDPUBKEYNOTMATCH:
    case CURLE_SSL_INVALIDCERTSTATUS:
    case CURLE_USE_SSL_FAILED: return kURLErrorSecureConnectionFailed;
    case CURLE_SSL_CERTPROBLEM:
    case CURLE_SSL_CLIENTCERT: return kURLErrorClientCertificateRejected;
    case CURLE_BAD_CONTENT_ENCODING: return kURLErrorCannotDecodeContentData;
    case CURLE_FILESIZE_EXCEEDED: return kURLErrorDataLengthExceedsMaximum;
    case CURLE_LOGIN_DENIED:
    case CURLE_AUTH_ERROR: return kURLErrorUserAuthenticationRequired;
    case CURLE_FILE_COULDNT_READ_FILE: return kURLErrorFileDoesNotExist;
    default: return kURLErrorUnknown;
    }
}

}  // namespace vork
