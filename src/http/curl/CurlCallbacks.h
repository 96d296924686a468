#pragma once
// The libcurl callbacks of one job (user pointer: the Job), run on the
// engine's thread.
#include <curl/curl.h>

#include <cstddef>

#include "http/curl/CurlJob.h"

namespace vork::http::curl {

size_t onWrite(char *data, size_t size, size_t count, void *job);
size_t onRead(char *buffer, size_t size, size_t count, void *job);
int onSeek(void *job, curl_off_t offset, int origin);
size_t onHeader(char *data, size_t size, size_t count, void *job);
int onProgress(void *job, curl_off_t, curl_off_t downloaded, curl_off_t uploadTotal, curl_off_t uploaded);

// The response report of the job's current answer (status, announced
// length, and the challenge of a 401 that asked for Basic or Digest).
Event responseEvent(Job &job);

}  // namespace vork::http::curl
