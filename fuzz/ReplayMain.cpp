// Runs a fuzz target over files without libFuzzer: every file named on the
// command line, and every file inside a named folder, is passed once to
// LLVMFuzzerTestOneInput. A crash or sanitizer report ends the program.
#include <cstdint>
#include <cstdio>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <string>
#include <vector>

extern "C" int LLVMFuzzerTestOneInput(const uint8_t *data, size_t size);
extern "C" __attribute__((weak)) int LLVMFuzzerInitialize(int *argc, char ***argv);

namespace {

void runFile(const std::filesystem::path &path, int &count) {
    std::ifstream in(path, std::ios::binary);
    std::vector<char> bytes((std::istreambuf_iterator<char>(in)), std::istreambuf_iterator<char>());
    LLVMFuzzerTestOneInput(reinterpret_cast<const uint8_t *>(bytes.data()), bytes.size());
    ++count;
}

}  // namespace

int main(int argc, char **argv) {
    if (LLVMFuzzerInitialize) LLVMFuzzerInitialize(&argc, &argv);
    int count = 0;
    for (int i = 1; i < argc; ++i) {
        std::filesystem::path path(argv[i]);
        if (std::filesystem::is_directory(path)) {
            for (const auto &entry : std::filesystem::directory_iterator(path))
                if (entry.is_regular_file()) runFile(entry.path(), count);
        } else {
            runFile(path, count);
        }
    }
    // An empty input is always worth one run.
    LLVMFuzzerTestOneInput(nullptr, 0);
    std::printf("replayed %d inputs\n", count + 1);
    return count > 0 ? 0 : 1;
}
