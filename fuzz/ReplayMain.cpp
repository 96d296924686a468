// Runs a fuzz target over files without libFuzzer: every file named on the
// command line, and every file inside a named folder, is passed once to
// LLVMFuzzerTestOneInput. A crash or sanitizer report ends the program.
#include <cstdint>
#include <cstdio>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <string>

extern "C" int LLVMFuzzerTestOneInput(const uint8_t *data, size_t size);
extern "C" __attribute__((weak)) int LLVMFuzzerInitialize(int *argc, char ***argv);

namespace {

int count = 0;

void runFile(const std::filesystem::path &path) {
    std::ifstream in(path, std::ios::binary);
    const std::string bytes((std::istreambuf_iterator<char>(in)), std::istreambuf_iterator<char>());
    LLVMFuzzerTestOneInput(reinterpret_cast<const uint8_t *>(bytes.data()), bytes.size());
    ++count;
}

}  // namespace

int main(int argc, char **argv) {
    if (LLVMFuzzerInitialize) LLVMFuzzerInitialize(&argc, &argv);
    for (int i = 1; i < argc; ++i) {
        if (!std::filesystem::is_directory(argv[i])) {
            runFile(argv[i]);
            continue;
        }
        for (const auto &entry : std::filesystem::directory_iterator(argv[i]))
            if (entry.is_regular_file()) runFile(entry.path());
    }
    // An empty input is always worth one run.
    LLVMFuzzerTestOneInput(nullptr, 0);
    std::printf("replayed %d inputs\n", count + 1);
    return count > 0 ? 0 : 1;
}
