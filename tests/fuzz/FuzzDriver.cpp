// Runs one fuzz target without libFuzzer: the seed corpus of the folder given as argument, then random
// changes of it for QUILLMARSH_FUZZ_SECONDS (default 5). The generator has a fixed seed, so a failure comes
// again; the input that is running when the process dies is in "crash-<target>" in the working directory.
#include <algorithm>
#include <chrono>
#include <csignal>
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <random>
#include <string>
#include <vector>

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size);

namespace {

using Input = std::vector<std::uint8_t>;

std::mt19937 generator(20240607);
Input current;
std::string crashFile;

std::size_t below(std::size_t bound)
{
    return bound == 0 ? 0 : std::uniform_int_distribution<std::size_t>(0, bound - 1)(generator);
}

void saveCurrent(int signal)
{
    if (std::FILE* const file = std::fopen(crashFile.c_str(), "wb")) {
        std::fwrite(current.data(), 1, current.size(), file);
        std::fclose(file);
    }
    std::signal(signal, SIG_DFL);
    std::raise(signal);
}

std::vector<Input> readCorpus(const char* folder)
{
    std::vector<std::filesystem::path> paths;
    for (const auto& entry : std::filesystem::directory_iterator(folder))
        paths.push_back(entry.path());
    std::sort(paths.begin(), paths.end());
    std::vector<Input> corpus;
    for (const auto& path : paths) {
        std::ifstream file(path, std::ios::binary);
        corpus.emplace_back(std::istreambuf_iterator<char>(file), std::istreambuf_iterator<char>());
    }
    return corpus;
}

void insertAt(Input& input, std::size_t at, const Input& piece)
{
    input.insert(input.begin() + static_cast<std::ptrdiff_t>(at), piece.begin(), piece.end());
}

Input pieceOf(const Input& source)
{
    const std::size_t from = below(source.size());
    const std::size_t length = std::min<std::size_t>(source.size() - from, 1 + below(32));
    const auto begin = source.begin() + static_cast<std::ptrdiff_t>(from);
    return Input(begin, begin + static_cast<std::ptrdiff_t>(length));
}

void mutateOnce(Input& input, const std::vector<Input>& corpus)
{
    static const std::string telling = "\"'{}[]:,.=&%+-_/\\ \r\n\t#?\0\x7f\xff\xc3\xa9\xed\xa0\x80";
    const std::size_t at = below(input.size());
    switch (below(8)) {
    case 0:
        if (!input.empty())
            input[at] = static_cast<std::uint8_t>(input[at] ^ (1U << below(8)));
        break;
    case 1:
        if (!input.empty())
            input[at] = static_cast<std::uint8_t>(below(256));
        break;
    case 2:
        insertAt(input, at, {static_cast<std::uint8_t>(telling[below(telling.size())])});
        break;
    case 3:
        input.erase(input.begin() + static_cast<std::ptrdiff_t>(at),
                    input.begin() + static_cast<std::ptrdiff_t>(std::min(input.size(), at + 1 + below(16))));
        break;
    case 4:
        insertAt(input, at, pieceOf(input));
        break;
    case 5:
        insertAt(input, at, pieceOf(corpus[below(corpus.size())]));
        break;
    case 6:
        input.resize(below(input.size() + 1));
        break;
    default:
        insertAt(input, at, Input(1 + below(64), static_cast<std::uint8_t>(telling[below(telling.size())])));
    }
}

void run(const Input& input)
{
    current = input;
    LLVMFuzzerTestOneInput(current.data(), current.size());
}

} // namespace

int main(int argc, char** argv)
{
    if (argc < 2)
        return 2;
    crashFile = "crash-" + std::filesystem::path(argv[0]).filename().string();
    std::signal(SIGABRT, saveCurrent);
    std::signal(SIGSEGV, saveCurrent);
    const std::vector<Input> corpus = readCorpus(argv[1]);
    if (corpus.empty())
        return 2;
    for (const Input& input : corpus)
        run(input);
    const char* const seconds = std::getenv("QUILLMARSH_FUZZ_SECONDS");
    const auto end =
        std::chrono::steady_clock::now() + std::chrono::seconds(seconds ? std::atoi(seconds) : 5);
    std::size_t runs = corpus.size();
    for (; std::chrono::steady_clock::now() < end; ++runs) {
        Input input = corpus[below(corpus.size())];
        for (std::size_t changes = 1 + below(6); changes > 0; --changes)
            mutateOnce(input, corpus);
        run(input);
    }
    std::printf("%zu inputs, no crash\n", runs);
    return 0;
}
