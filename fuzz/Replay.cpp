// Runs one fuzz target over its kept corpus and over deterministic mutations of it: replay COUNT FOLDER...
#include <algorithm>
#include <csignal>
#include <iterator>
#include <random>
#include <vector>

#include "fuzz/FuzzTarget.h"

namespace {

using Bytes = std::vector<std::uint8_t>;

std::vector<Bytes> LoadCorpus(int folders, char** names) {
    std::vector<std::filesystem::path> files;
    for (int i = 0; i < folders; ++i)
        for (const auto& entry : std::filesystem::directory_iterator(names[i]))
            files.push_back(entry.path());
    std::sort(files.begin(), files.end());
    std::vector<Bytes> corpus;
    for (const auto& file : files) {
        std::ifstream stream(file, std::ios::binary);
        corpus.emplace_back(std::istreambuf_iterator<char>(stream), std::istreambuf_iterator<char>());
    }
    return corpus;
}

class Mutator {
  public:
    explicit Mutator(const std::vector<Bytes>& corpus) : corpus_(corpus) {}

    Bytes Next() {
        Bytes bytes = Any();
        for (std::size_t edits = 1 + Below(4); edits > 0; --edits)
            Edit(bytes);
        return bytes;
    }

  private:
    std::size_t Below(std::size_t limit) { return limit == 0 ? 0 : random_() % limit; }
    const Bytes& Any() { return corpus_[Below(corpus_.size())]; }

    void Edit(Bytes& bytes) {
        static constexpr std::uint8_t telling[] = {0,   '\n', '\r', '"', '[', ']',
                                                   '=', ',',  '\\', '-', '9', 0xFF};
        const std::size_t at = Below(bytes.size() + 1);
        const auto place = bytes.begin() + static_cast<std::ptrdiff_t>(at);
        const auto run = static_cast<std::ptrdiff_t>(Below(std::min<std::size_t>(bytes.size() - at, 64) + 1));
        switch (Below(6)) {
            case 0:
                if (at < bytes.size())
                    bytes[at] = static_cast<std::uint8_t>(bytes[at] ^ (1U << Below(8)));
                break;
            case 1:
                bytes.insert(place, telling[Below(std::size(telling))]);
                break;
            case 2:
                bytes.erase(place, place + run);
                break;
            case 3: {
                const Bytes copy(place, place + run);
                bytes.insert(place, copy.begin(), copy.end());
                break;
            }
            case 4: {
                const Bytes& other = Any();
                const auto from = static_cast<std::ptrdiff_t>(Below(other.size() + 1));
                bytes.erase(place, bytes.end());
                bytes.insert(bytes.end(), other.begin() + from, other.end());
                break;
            }
            default:
                bytes.resize(at);
        }
    }

    const std::vector<Bytes>& corpus_;
    std::mt19937 random_{20};
};

}  // namespace

namespace {

const Bytes* tried = nullptr;

/// A broken claim aborts: the input that broke it is printed first.
void PrintInput(int) {
    std::fprintf(stderr, "input:");
    for (const std::uint8_t byte : *tried)
        std::fprintf(stderr, " %02x", byte);
    std::fprintf(stderr, "\n");
}

void Try(const Bytes& bytes) {
    tried = &bytes;
    LLVMFuzzerTestOneInput(bytes.data(), bytes.size());
}

}  // namespace

int main(int count, char** arguments) {
    if (count < 3)
        return 2;
    const std::vector<Bytes> corpus = LoadCorpus(count - 2, arguments + 2);
    if (corpus.empty()) {
        std::fprintf(stderr, "the corpus is empty\n");
        return 1;
    }
    std::signal(SIGABRT, PrintInput);
    for (const Bytes& bytes : corpus)
        Try(bytes);
    Mutator mutator(corpus);
    const int mutations = std::atoi(arguments[1]);
    for (int i = 0; i < mutations; ++i)
        Try(mutator.Next());
    std::printf("%zu inputs and %d mutations\n", corpus.size(), mutations);
    return 0;
}
