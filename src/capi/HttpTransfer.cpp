// C functions of the HTTP transfer family: one process-wide HttpTransfer
// driven from the agent's thread.
#include "VORKCoreCommC/httptransfer.h"

#include <memory>

#include "base/CommCLog.h"
#include "base/Format.h"
#include "base/ProcessWide.h"
#include "capi/Guard.h"
#include "capi/PumpRunLoop.h"
#include "capi/ReturnedText.h"
#include "transfers/HttpTransfer.h"
#include "util/UrlHelpers.h"
#include "util/Utf8.h"

using namespace vork;

void *g_HttpTransfer = nullptr;
int g_MaxRetries = 0;
double g_RetryDelayMinSeconds = 5.0;
double g_RetryDelayMaxSeconds = 120.0;

namespace {

auto &transfers() { return processWide<HttpTransfer, g_HttpTransfer>(); }

HttpTransfer *current() { return transfers().get(); }

// Pumps once, keeping the transfer alive while its reports run.
void pumpOnce() {
    auto held = transfers().shared();
    // A finished transfer has nothing more to report: the poll that sees it
    // finished answers at once instead of waiting out a slice.
    if (held && !held->inProgress()) capi::pumpRunLoopReady();
    else capi::pumpRunLoopOnce();
}

const char *orNull(const std::optional<std::string> &text) { return text ? text->c_str() : "(null)"; }

// The body as text: none when it is not UTF-8.
std::optional<std::string> bodyText(const std::shared_ptr<const std::string> &data) {
    if (!data) return std::string();
    return util::isValidUtf8(*data) ? std::optional<std::string>(*data) : std::nullopt;
}

}  // namespace

void httpTransferRetrySettings(int maxRetries, double minSeconds, double maxSeconds) {
    capi::guardedVoid([&] {
        minSeconds = HttpTransfer::acceptableRetryDelay(minSeconds, kHttpTransferRetryDelayMin);
        maxSeconds = HttpTransfer::acceptableRetryDelay(maxSeconds, kHttpTransferRetryDelayMax);
        g_MaxRetries = maxRetries;
        g_RetryDelayMinSeconds = minSeconds;
        g_RetryDelayMaxSeconds = maxSeconds;
        if (HttpTransfer *transfer = current()) {
            transfer->setMaxRetries(maxRetries);
            // The live transfer gets the minimum for both bounds.
            transfer->setRetryDelayMinSeconds(minSeconds);
            transfer->setRetryDelayMaxSeconds(minSeconds);
        }
    });
}

void httpTransferInitDownload(const char *url, bool allowInvalidCert, const char *username, const char *password,
                              const char *postData, const char *postFilePath, const char *downloadFilePath) {
    capi::guardedVoid([&] {
        transfers().release();
        HttpTransfer &transfer = transfers().make();
        transfer.setMaxRetries(g_MaxRetries);
        transfer.setRetryDelayMinSeconds(g_RetryDelayMinSeconds);
        transfer.setRetryDelayMaxSeconds(g_RetryDelayMaxSeconds);

        const std::optional<std::string> urlText = capi::argument(url);
        if (urlText && util::isParsableUrl(*urlText)) transfer.setUrl(urlText);
        transfer.setAllowInvalidCert(allowInvalidCert);
        const auto user = capi::argument(username);
        const auto post = capi::argument(postData);
        const auto postFile = capi::argument(postFilePath);
        if (user) transfer.setUsername(user);
        if (auto p = capi::argument(password)) transfer.setPassword(p);
        if (post) transfer.setPostData(post);
        if (postFile) transfer.setPostFilePath(postFile);
        if (auto d = capi::argument(downloadFilePath)) transfer.setDownloadFilePath(d);
        transfer.setTimeout(kHttpTransferRequestTimeout);

        logDebugf("httpTransferInit: urlString=%s", orNull(urlText));
        logDebugf("httpTransferInit: username=%s, password=********", user ? user->c_str() : "");
        logDebugf("httpTransferInit: postData=%s (%s)", postData ? postData : "(null)", post ? post->c_str() : "");
        logDebugf("httpTransferInit: filePath=%s", postFile ? postFile->c_str() : "");
    });
}

void httpTransferInit(const char *url, bool allowInvalidCert, const char *username, const char *password,
                      const char *postData, const char *postFilePath) {
    httpTransferInitDownload(url, allowInvalidCert, username, password, postData, postFilePath, nullptr);
}

bool httpTransferAddHeader(const char *headerName, const char *headerValue) {
    return capi::guarded<bool>(false, [&] {
        HttpTransfer *transfer = current();
        if (!transfer) return false;
        const auto name = capi::argument(headerName);
        const auto value = capi::argument(headerValue);
        logDebugf("httpTransferAddHeader: headerName=%s, headerValue=%s", orNull(name), orNull(value));
        if (!name || !value || !VORKHTTPRequest::isAcceptableHeader(*name, *value)) return false;
        transfer->setHeaderValue(*value, *name);
        return true;
    });
}

const char *httpSubmitRequest(void) {
    return capi::guardedOr<const char *>(
        [] {
            logDebugf("httpSubmitRequest started");
            auto transfer = transfers().shared();
            if (!transfer) return capi::emptyText();
            auto response = transfer->submitSynchronousRequest();
            auto data = response ? response->responseData() : nullptr;
            if (!data || data->empty()) return capi::emptyText();
            const auto text = bodyText(data);
            logDebugf("httpSubmitRequest: data received=%s", orNull(text));
            return capi::returnText(text);
        },
        [](const std::string &description) { return capi::returnText(std::string_view(description)); });
}

const char *httpTransferStart(void) {
    return capi::guardedOr<const char *>(
        [] {
            logDebugf("httpTransferStart");
            if (auto transfer = transfers().shared()) transfer->start();
            pumpOnce();
            return capi::emptyText();
        },
        [](const std::string &description) -> const char * {
            if (!description.empty()) {
                logDebugf("httpTransferStart failed: %s", description.c_str());
                return capi::returnText(std::string_view(description));
            }
            logDebugf("httpTransferStart failed");
            return "Transfer failed";
        });
}

double httpTransferProgress(void) {
    return capi::guardedOr<double>(
        [] {
            if (!current()) return -1.0;
            pumpOnce();
            HttpTransfer *transfer = current();
            if (!transfer) return -1.0;
            if (transfer->isCompleted()) return 100.0;
            logDebugf("httpTransferProgress=%lf%%", transfer->percentCompleted());
            return transfer->percentCompleted();
        },
        [](const std::string &description) {
            logDebugf("httpTransferProgress - exception was thrown=%s", description.c_str());
            return -1.0;
        });
}

const char *httpTransferStatus(void) {
    return capi::guarded<const char *>(capi::emptyText(), [] {
        HttpTransfer *transfer = current();
        if (!transfer) return capi::emptyText();
        logDebugf("httpTransferStatus=%s", orNull(transfer->statusMessage()));
        return capi::returnText(transfer->statusMessage());
    });
}

bool httpTransferCancel(void) {
    return capi::guarded<bool>(false, [] {
        HttpTransfer *transfer = current();
        if (!transfer) return false;
        transfer->cancel();
        return true;
    });
}

bool httpTransferIsComplete(void) {
    return capi::guardedOr<bool>(
        [] {
            if (!current()) return true;
            pumpOnce();
            HttpTransfer *transfer = current();
            if (!transfer) return true;
            const bool complete = transfer->isCompleted();
            logDebugf("httpTransferIsComplete=%s", yesNo(complete));
            return complete;
        },
        [](const std::string &description) {
            logDebugf("httpTransferIsComplete - exception was thrown=%s", description.c_str());
            return true;
        });
}

int httpResponseCode(void) {
    return capi::guarded<int>(-1, [] {
        if (!current()) return -1;
        pumpOnce();
        HttpTransfer *transfer = current();
        if (!transfer) return -1;
        const int code = transfer->responseCode();
        logDebugf("httpResponseCode=%d", code);
        return code;
    });
}

const char *httpTransferResult(void) {
    return capi::guarded<const char *>(capi::emptyText(), [] {
        HttpTransfer *transfer = current();
        if (!transfer) return capi::emptyText();
        const auto text = bodyText(transfer->responseData());
        logDebugf("httpTransferResult=%s", orNull(text));
        return capi::returnText(text);
    });
}

const char *httpTransferError(void) {
    return capi::guarded<const char *>(capi::emptyText(), [] {
        HttpTransfer *transfer = current();
        if (!transfer) return capi::emptyText();
        const auto &error = transfer->error();
        const std::optional<std::string> text =
            error ? std::optional<std::string>(error->localizedDescription()) : std::nullopt;
        logDebugf("httpTransferError=%s", orNull(text));
        return text ? capi::returnText(std::string_view(*text)) : capi::emptyText();
    });
}

void httpTransferRelease(void) { capi::guardedVoid([] { transfers().release(); }); }
