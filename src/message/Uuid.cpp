#include "message/Uuid.h"

#include <openssl/rand.h>
#include <pthread.h>

#include <atomic>
#include <cstring>
#include <mutex>
#include <random>

#include "base/Format.h"

namespace vork {

namespace {

// Random bytes taken from OpenSSL a kilobyte at a time: asking it for every
// identifier costs more than writing the rest of a message. A process made
// by fork never hands out its parent's bytes again: the count of forks
// tells a thread its bytes are the parent's.
std::atomic<unsigned long> g_forks{0};

struct RandomPool {
    unsigned char bytes[1024];
    size_t used = sizeof bytes;
    unsigned long forks = 0;
};

thread_local RandomPool t_pool;

bool takeRandom(unsigned char *out, size_t count) {
    static std::once_flag once;
    std::call_once(once, [] { pthread_atfork(nullptr, nullptr, [] { g_forks.fetch_add(1); }); });
    RandomPool &pool = t_pool;
    const unsigned long forks = g_forks.load();
    if (pool.forks != forks || pool.used + count > sizeof pool.bytes) {
        if (RAND_bytes(pool.bytes, static_cast<int>(sizeof pool.bytes)) != 1) return false;
        pool.used = 0;
        pool.forks = forks;
    }
    std::memcpy(out, pool.bytes + pool.used, count);
    pool.used += count;
    return true;
}

}  // namespace

std::string newUuidString() {
    unsigned char b[16];
    if (!takeRandom(b, sizeof b)) {
        std::random_device device;
        for (unsigned char &byte : b) byte = static_cast<unsigned char>(device());
    }
    b[6] = static_cast<unsigned char>((b[6] & 0x0F) | 0x40);
    b[8] = static_cast<unsigned char>((b[8] & 0x3F) | 0x80);
    return stringf("%02X%02X%02X%02X-%02X%02X-%02X%02X-%02X%02X-%02X%02X%02X%02X%02X%02X", b[0], b[1], b[2], b[3], b[4],
                   b[5], b[6], b[7], b[8], b[9], b[10], b[11], b[12], b[13], b[14], b[15]);
}

}  // namespace vork
