#pragma once
// The one place where an easy handle's options are set for a job.
#include "http/curl/CurlJob.h"

namespace vork::http::curl {

// Makes job.easy (from the given reset handle, or a new one) and sets every
// option the job's request asks for (callbacks, headers, body, time-out,
// TLS, credentials). Answers 0, or the system error when the body file
// cannot be opened.
int configureEasyHandle(Job &job, CURL *easy = nullptr);

}  // namespace vork::http::curl
