// Arbitrary bytes through the URL and Base64 helpers. Base64 must give back
// exactly what it encoded, in both layouts; the URL helpers must not crash,
// and percent-encoding must decode back to valid UTF-8 input.
#include <cstdint>
#include <cstdlib>
#include <cstring>
#include <string>
#include <string_view>

#include "util/Base64.h"
#include "util/UrlHelpers.h"
#include "util/Utf8.h"

extern "C" int LLVMFuzzerTestOneInput(const uint8_t *data, size_t size) {
    using namespace vork::util;
    const std::string_view input(reinterpret_cast<const char *>(data), size);

    for (const bool separateLines : {false, true}) {
        size_t encodedLength = 0;
        char *encoded = NewBase64Encode(data, size, separateLines, &encodedLength);
        if (!encoded) continue;
        size_t decodedLength = 0;
        void *decoded = NewBase64Decode(encoded, encodedLength, &decodedLength);
        if (decodedLength != size || (size && std::memcmp(decoded, data, size) != 0)) std::abort();
        std::free(decoded);
        std::free(encoded);
    }
    (void)dataFromBase64String(input);

    (void)zelURLFromUserInput(input);
    (void)isParsableUrl(input);
    (void)parseParamsFromUrl(input);
    (void)fileName(input);
    (void)percentEncodeFormData(input);
    (void)encodeForURIParam(input);
    const size_t half = input.size() / 2;
    (void)stringByAppendingUrlComponent(input.substr(0, half), input.substr(half));
    (void)stringByAppendingUrlComponentNoUrlEncode(input.substr(0, half), input.substr(half));
    const std::string encoded = urlEncodedString(input);
    const auto decoded = urlDecodeString(encoded);
    if (isValidUtf8(input) && decoded && *decoded != input) std::abort();
    (void)urlDecodeString(input);
    return 0;
}
