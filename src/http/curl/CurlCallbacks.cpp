#include "http/curl/CurlCallbacks.h"

#include <cstdio>
#include <string_view>

#include "http/ResponseHeaderLine.h"

namespace vork::http::curl {

namespace {

bool startsWithIgnoringCase(std::string_view text, std::string_view prefix) {
    return text.size() >= prefix.size() && equalsIgnoringCase(text.substr(0, prefix.size()), prefix);
}

// A Digest challenge: curl answers it with a new request, which must not
// carry the Basic "Authorization" header sent up front as well.
void dropUpFrontAuthorization(Job &job) {
    if (job.retiredHeaderList) return;
    curl_slist *without = nullptr;
    for (curl_slist *item = job.headerList; item; item = item->next)
        if (!startsWithIgnoringCase(item->data, "Authorization:")) without = curl_slist_append(without, item->data);
    job.retiredHeaderList = job.headerList;
    job.headerList = without;
    curl_easy_setopt(job.easy, CURLOPT_HTTPHEADER, job.headerList);
}

}  // namespace

Event responseEvent(Job &job) {
    long status = 0;
    curl_off_t contentLength = -1;
    curl_easy_getinfo(job.easy, CURLINFO_RESPONSE_CODE, &status);
    curl_easy_getinfo(job.easy, CURLINFO_CONTENT_LENGTH_DOWNLOAD_T, &contentLength);
    Event event{Event::Response};
    event.status = static_cast<int>(status);
    event.contentLength = contentLength;
    const bool basic = startsWithIgnoringCase(job.challengeHeader, "basic");
    if (status == 401 && (basic || startsWithIgnoringCase(job.challengeHeader, "digest"))) {
        AuthenticationChallenge challenge;
        challenge.method = basic ? AuthenticationMethod::HTTPBasic : AuthenticationMethod::HTTPDigest;
        if (job.request.username && job.request.password)
            challenge.proposedCredential = URLCredential::withUser(job.request.username, job.request.password);
        event.challenge = std::move(challenge);
    }
    return event;
}

size_t onWrite(char *data, size_t size, size_t count, void *user) {
    auto *job = static_cast<Job *>(user);
    const size_t length = size * count;
    job->touch();
    if (!job->responseQueued) {
        job->responseQueued = true;
        Event event = responseEvent(*job);
        // The request may replace or remove the output file when it handles
        // this response (a range that was ignored, a failure status): hold
        // the body back until it has.
        event.needsAck =
            job->file && !(event.status == 206 || (event.status == 200 && job->request.resumeOffset == 0));
        job->waitingForAck = event.needsAck;
        job->queue(std::move(event), true);
    }
    if (job->waitingForAck) return CURL_WRITEFUNC_PAUSE;
    if (job->file) {
        if (job->writeFailed || !job->appendToFile(data, length)) {
            job->writeFailed = true;
            return 0;
        }
        return length;
    }
    {
        std::lock_guard<std::mutex> lock(job->mutex);
        if (job->undeliveredBytes > 0 && job->undeliveredBytes + length > kUndeliveredBytesCap) {
            job->pausedForMemory = true;
            return CURL_WRITEFUNC_PAUSE;
        }
        job->undeliveredBytes += length;
    }
    Event event{Event::Data};
    event.bytes.assign(data, length);
    event.length = length;
    job->queue(std::move(event), false);
    return length;
}

size_t onRead(char *buffer, size_t size, size_t count, void *user) {
    auto *job = static_cast<Job *>(user);
    int error = 0;
    const long n = job->body->readAt(buffer, size * count, job->bodyOffset, error);
    if (n < 0) return CURL_READFUNC_ABORT;
    job->bodyOffset += static_cast<uint64_t>(n);
    job->touch();
    return static_cast<size_t>(n);
}

int onSeek(void *user, curl_off_t offset, int origin) {
    auto *job = static_cast<Job *>(user);
    // Like lseek: from the start, the current offset or the end.
    curl_off_t base = 0;
    if (origin == SEEK_CUR) base = static_cast<curl_off_t>(job->bodyOffset);
    else if (origin == SEEK_END) base = static_cast<curl_off_t>(job->bodySize);
    else if (origin != SEEK_SET) return CURL_SEEKFUNC_FAIL;
    if (base + offset < 0) return CURL_SEEKFUNC_FAIL;
    job->bodyOffset = static_cast<uint64_t>(base + offset);
    return CURL_SEEKFUNC_OK;
}

size_t onHeader(char *data, size_t size, size_t count, void *user) {
    auto *job = static_cast<Job *>(user);
    const size_t length = size * count;
    job->touch();
    const ResponseHeaderLine parsed = parseResponseHeaderLine(std::string_view(data, length));
    if (parsed.kind == ResponseHeaderLine::Kind::StatusLine) {
        job->challengeHeader.clear();  // a new answer begins
    } else if (parsed.kind == ResponseHeaderLine::Kind::Challenge) {
        const bool digest = parsed.scheme == ResponseHeaderLine::Scheme::Digest;
        if (job->challengeHeader.empty() || digest) job->challengeHeader = parsed.challenge;
        if (digest) dropUpFrontAuthorization(*job);
    }
    return length;
}

int onProgress(void *user, curl_off_t, curl_off_t downloaded, curl_off_t uploadTotal, curl_off_t uploaded) {
    auto *job = static_cast<Job *>(user);
    if (downloaded != job->lastDownloaded || uploaded != job->lastUploaded) job->touch();
    if (uploaded != job->lastUploaded) {
        Event event{Event::Sent};
        const auto written = static_cast<uint64_t>(uploaded);
        event.sentChunk = static_cast<int32_t>(uploaded - job->lastUploaded);
        event.sentTotal = static_cast<int32_t>(static_cast<uint32_t>(written));
        event.sentExpected = static_cast<int32_t>(static_cast<uint32_t>(static_cast<uint64_t>(uploadTotal)));
        event.sentEpoch = written >> 32;
        event.epochFirst = !job->sawSentEvent || event.sentEpoch != job->lastSentEpoch;
        job->sawSentEvent = true;
        job->lastSentEpoch = event.sentEpoch;
        job->queue(std::move(event), false);
    }
    job->lastDownloaded = downloaded;
    job->lastUploaded = uploaded;
    return 0;
}

}  // namespace vork::http::curl
