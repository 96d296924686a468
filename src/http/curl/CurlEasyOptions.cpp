#include "http/curl/CurlEasyOptions.h"

#include <algorithm>
#include <cstdlib>

#include "http/curl/CurlCallbacks.h"

namespace vork::http::curl {

namespace {

constexpr long kReceiveBufferSize = 512 * 1024;
constexpr long kUploadBufferSize = 1024 * 1024;

// The request's headers, and an empty "Expect:" that keeps libcurl from
// adding "Expect: 100-continue" to a body (and from waiting a second for a
// "100 Continue" many servers never send). A header with a line break never
// goes out, whoever built the request.
void setHeaders(Job &job) {
    for (const auto &[name, value] : job.request.headers) {
        if ((name + value).find_first_of("\r\n") != std::string::npos) continue;
        const std::string line = value.empty() ? name + ";" : name + ": " + value;
        job.headerList = curl_slist_append(job.headerList, line.c_str());
    }
    job.headerList = curl_slist_append(job.headerList, "Expect:");
    curl_easy_setopt(job.easy, CURLOPT_HTTPHEADER, job.headerList);
}

int setBody(Job &job) {
    CURL *easy = job.easy;
    const ConnectionRequest &r = job.request;
    // The body size the headers announce, when they do.
    curl_off_t announced = -1;
    for (const auto &[name, value] : r.headers)
        if (equalsIgnoringCase(name, "Content-Length")) announced = std::strtoll(value.c_str(), nullptr, 10);
    const bool post = r.method == "POST";
    if (r.body) {
        if (!post) curl_easy_setopt(easy, CURLOPT_CUSTOMREQUEST, r.method.c_str());
        curl_easy_setopt(easy, CURLOPT_POSTFIELDSIZE_LARGE, static_cast<curl_off_t>(r.body->size()));
        curl_easy_setopt(easy, CURLOPT_POSTFIELDS, r.body->data());
    } else if (r.bodyFilePath) {
        int openError = 0;
        job.body = platform::fileAccess().get()->openForReading(*r.bodyFilePath, openError);
        if (!job.body) return openError;
        const auto actual = job.body->size();
        job.bodySize = actual.value_or(0);
        curl_off_t size = announced;
        if (size < 0 && actual) size = static_cast<curl_off_t>(*actual);
        if (!post) curl_easy_setopt(easy, CURLOPT_CUSTOMREQUEST, r.method.c_str());
        curl_easy_setopt(easy, CURLOPT_POST, 1L);
        curl_easy_setopt(easy, CURLOPT_READFUNCTION, onRead);
        curl_easy_setopt(easy, CURLOPT_READDATA, &job);
        curl_easy_setopt(easy, CURLOPT_SEEKFUNCTION, onSeek);
        curl_easy_setopt(easy, CURLOPT_SEEKDATA, &job);
        curl_easy_setopt(easy, CURLOPT_POSTFIELDSIZE_LARGE, size);
    } else if (post) {
        curl_easy_setopt(easy, CURLOPT_POSTFIELDSIZE_LARGE, static_cast<curl_off_t>(0));
        curl_easy_setopt(easy, CURLOPT_POSTFIELDS, "");
    } else if (r.method == "HEAD") {
        curl_easy_setopt(easy, CURLOPT_NOBODY, 1L);
    } else if (r.method != "GET") {
        curl_easy_setopt(easy, CURLOPT_CUSTOMREQUEST, r.method.c_str());
    }
    return 0;
}

// Server trust and the client identity.
void setTls(Job &job) {
    CURL *easy = job.easy;
    const ConnectionRequest &r = job.request;
    if (r.allowInvalidCert) {
        curl_easy_setopt(easy, CURLOPT_SSL_VERIFYPEER, 0L);
        curl_easy_setopt(easy, CURLOPT_SSL_VERIFYHOST, 0L);
    }
    if (r.tls) applyTlsCredentials(easy, *r.tls);
}

void setCredentials(Job &job) {
    const ConnectionRequest &r = job.request;
    if (!r.username || r.username->empty() || !r.password) return;
    // Basic goes out with every request as a header; Digest is answered
    // when the server asks for it. Offering curl both methods keeps it from
    // opening with an empty-bodied probe, which it does when Digest is the
    // only method allowed: the first request carries the whole body and the
    // Basic header, and only a Digest challenge costs a second round trip.
    curl_easy_setopt(job.easy, CURLOPT_USERNAME, r.username->c_str());
    curl_easy_setopt(job.easy, CURLOPT_PASSWORD, r.password->c_str());
    curl_easy_setopt(job.easy, CURLOPT_HTTPAUTH, static_cast<long>(CURLAUTH_BASIC | CURLAUTH_DIGEST));
}

}  // namespace

int configureEasyHandle(Job &job, CURL *easy) {
    if (!easy) easy = curl_easy_init();
    job.easy = easy;
    job.file = job.request.outputFile;
    job.touch();
    curl_easy_setopt(easy, CURLOPT_URL, job.request.url.c_str());
    curl_easy_setopt(easy, CURLOPT_NOSIGNAL, 1L);
    curl_easy_setopt(easy, CURLOPT_ERRORBUFFER, job.errorBuffer);
    curl_easy_setopt(easy, CURLOPT_WRITEFUNCTION, onWrite);
    curl_easy_setopt(easy, CURLOPT_WRITEDATA, &job);
    curl_easy_setopt(easy, CURLOPT_HEADERFUNCTION, onHeader);
    curl_easy_setopt(easy, CURLOPT_HEADERDATA, &job);
    curl_easy_setopt(easy, CURLOPT_NOPROGRESS, 0L);
    curl_easy_setopt(easy, CURLOPT_XFERINFOFUNCTION, onProgress);
    curl_easy_setopt(easy, CURLOPT_XFERINFODATA, &job);
    curl_easy_setopt(easy, CURLOPT_FOLLOWLOCATION, 1L);
    curl_easy_setopt(easy, CURLOPT_MAXREDIRS, 16L);
    // Large buffers pay off for files only: libcurl allocates the receive
    // buffer with each handle, and for a server call's few hundred bytes
    // half a megabyte would cost more than the exchange.
    if (job.request.outputFile) curl_easy_setopt(easy, CURLOPT_BUFFERSIZE, kReceiveBufferSize);
    if (job.request.bodyFilePath) curl_easy_setopt(easy, CURLOPT_UPLOAD_BUFFERSIZE, kUploadBufferSize);
    curl_easy_setopt(easy, CURLOPT_TCP_KEEPALIVE, 1L);
    if (job.request.timeout > 0)
        curl_easy_setopt(easy, CURLOPT_CONNECTTIMEOUT_MS,
                         static_cast<long>(std::clamp(job.request.timeout * 1000.0, 1.0, 2147483647.0)));
    setHeaders(job);
    setTls(job);
    setCredentials(job);
    return setBody(job);
}

}  // namespace vork::http::curl
