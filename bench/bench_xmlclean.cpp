// XML text cleaning at scale: 10 MB of text holding 100,000 characters to
// remove, through both cleaners, side by side with copying the same bytes
// (cp) and with the stream editors a user would reach for (sed, tr). Both
// cleaners make one pass, so the 10 MB case takes about ten times the 1 MB
// case and stays near the cost of a copy.
#include <unistd.h>

#include <cstdio>
#include <cstring>
#include <filesystem>
#include <fstream>
#include <random>
#include <string>

#include "message/RemoveInvalidXmlData.h"
#include "message/VCCMessage.h"
#include "support/BenchSupport.h"

namespace {

using namespace vork;

// Text of `bytes` bytes with `removals` references "&#n;" to drop (n in
// 0..8, 11, 12, 14..28) spread evenly, plus as many kept references.
std::string textWithReferences(size_t bytes, size_t removals) {
    static const int dropped[] = {0, 1, 2, 3, 4, 5, 6, 7, 8, 11, 12, 14, 20, 28};
    std::mt19937 rng(7);
    std::string out;
    out.reserve(bytes + 16);
    size_t stride = bytes / removals;
    const std::string filler = "The quick brown fox jumps over the lazy dog; caf\xC3\xA9 & co. ";
    size_t k = 0;
    while (out.size() < bytes) {
        size_t segmentEnd = std::min(bytes, out.size() + stride);
        out += "&#" + std::to_string(dropped[rng() % 14]) + ";";
        if (k++ % 2 == 0) out += "&#10;";
        while (out.size() < segmentEnd) out += filler.substr(0, std::min(filler.size(), segmentEnd - out.size()));
    }
    return out;
}

// UTF-8 of `bytes` bytes with `removals` characters outside the allowed
// ranges (U+0001, U+FFFE, U+D7FF in turn).
std::string textWithForbiddenCharacters(size_t bytes, size_t removals) {
    static const char *forbidden[] = {"\x01", "\xEF\xBF\xBE", "\xED\x9F\xBF"};
    std::string out;
    out.reserve(bytes + 16);
    size_t stride = bytes / removals;
    const std::string filler = "<ns2:name>Stra\xC3\x9F" "e \xE2\x82\xAC 12</ns2:name>\n";
    size_t k = 0;
    while (out.size() < bytes) {
        size_t segmentEnd = std::min(bytes, out.size() + stride);
        out += forbidden[k++ % 3];
        while (out.size() < segmentEnd) {
            std::string piece = filler.substr(0, std::min(filler.size(), segmentEnd - out.size()));
            // Never cut a multi-byte character.
            while (!piece.empty() && (static_cast<unsigned char>(piece.back()) & 0xC0) == 0x80) piece.pop_back();
            if (!piece.empty() && static_cast<unsigned char>(piece.back()) >= 0xC0) piece.pop_back();
            if (piece.empty()) piece = " ";
            out += piece;
        }
    }
    return out;
}

void writeFile(const std::string &path, const std::string &bytes) {
    std::ofstream out(path, std::ios::binary | std::ios::trunc);
    out.write(bytes.data(), static_cast<std::streamsize>(bytes.size()));
}

// The median of a few runs.
double medianOf(int runs, const std::function<void()> &work) {
    std::vector<double> figures;
    for (int i = 0; i < runs; ++i) figures.push_back(bench::secondsOf(work));
    return bench::median(figures);
}

// Our figure and a command's, in turns (A B A B), medians.
std::pair<double, double> against(int runs, const std::function<void()> &work, const std::string &command) {
    return bench::alternate(runs, [&] { return bench::secondsOf(work); },
                            [&] { return bench::timeCommand(command); });
}

}  // namespace

int main() {
    std::filesystem::path dir = std::filesystem::temp_directory_path() / ("bench_xmlclean_" + std::to_string(getpid()));
    std::filesystem::create_directories(dir);
    const std::string in = (dir / "in.txt").string();
    const std::string out = (dir / "out.txt").string();
    const int runs = 7;

    std::vector<bench::Row> rows;
    size_t removedRefs = 0;
    for (size_t megabytes : {1, 10}) {
        size_t bytes = megabytes * 1000 * 1000;
        size_t removals = megabytes * 10000;
        std::string text = textWithReferences(bytes, removals);
        writeFile(in, text);
        std::string result;
        auto clean = [&] { result = RemoveInvalidXmlData::removeInvalidEncodedChars(text); };
        clean();
        removedRefs = (text.size() - result.size());
        std::string copy;
        double memcopy = medianOf(runs, [&] { copy = text; });
        auto [ours, cp] = against(runs, clean, "cp " + in + " " + out);
        double sed = against(runs, clean, "LC_ALL=C sed -E 's/&#([0-8]|1[1247-9]|2[0-8]|1[56]);//g' " + in + " > " + out).second;
        std::string what = "references " + std::to_string(megabytes) + " MB, " + std::to_string(removals) + " drops";
        rows.push_back({what + " vs copy", ours, memcopy, "std::string", 0});
        rows.push_back({what + " vs cp", ours, cp, "cp", 0.5});
        rows.push_back({what + " vs sed", ours, sed, "sed -E", 1.0});
        std::printf("%zu MB: %zu bytes of references removed\n", megabytes, removedRefs);
    }
    for (size_t megabytes : {1, 10}) {
        size_t bytes = megabytes * 1000 * 1000;
        size_t removals = megabytes * 10000;
        std::string text = textWithForbiddenCharacters(bytes, removals);
        writeFile(in, text);
        std::optional<std::string> result;
        auto clean = [&] { result = VCCMessage::dataByRemovingInvalidXmlCharacters(text); };
        clean();
        if (!result) {
            std::fprintf(stderr, "the generated text is not UTF-8\n");
            return 1;
        }
        std::string copy;
        double memcopy = medianOf(runs, [&] { copy = text; });
        auto [ours, cp] = against(runs, clean, "cp " + in + " " + out);
        // tr removes the control characters only; it knows nothing of UTF-8.
        double tr = against(runs, clean, "LC_ALL=C tr -d '\\001' < " + in + " > " + out).second;
        std::string what = "characters " + std::to_string(megabytes) + " MB, " + std::to_string(removals) + " drops";
        rows.push_back({what + " vs copy", ours, memcopy, "std::string", 0});
        rows.push_back({what + " vs cp", ours, cp, "cp", 0.5});
        rows.push_back({what + " vs tr", ours, tr, "tr -d", 0.5});
        std::printf("%zu MB: %zu bytes of forbidden characters removed\n", megabytes, text.size() - result->size());
    }
    bench::printTable("XML text cleaning (medians of 7, in turns with each tool)", rows);
    std::filesystem::remove_all(dir);
    return 0;
}
