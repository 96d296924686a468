#pragma once
// OpenSSL frees its tables from an exit handler while threads of the
// library (a hash under way, the HTTP loader) may still be using them, and
// such a thread then crashes the exiting process. Asked before anything
// uses OpenSSL, it registers no such handler and the tables stay until the
// process is gone. Each file whose threads use OpenSSL includes this: the
// priority runs it at load, before any other initializer of the program.
#include <openssl/crypto.h>

namespace vork {

[[gnu::constructor(101)]] static void keepCryptoAtExit() { OPENSSL_init_crypto(OPENSSL_INIT_NO_ATEXIT, nullptr); }

}  // namespace vork
