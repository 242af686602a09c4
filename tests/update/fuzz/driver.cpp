// Runs a fuzz target without a fuzzing engine: every seed, then mutations of them from a fixed random number,
// so that a failure comes back. "fuzz_x SEEDS [ROUNDS]"; a single file as SEEDS is run once.
#include <QDir>
#include <QFile>

#include <cstdint>
#include <cstdio>
#include <random>

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size);

namespace {

std::mt19937 randomNumbers(20'240'501); // NOLINT: the same sequence in every run is the point

std::size_t below(std::size_t limit)
{
    return std::uniform_int_distribution<std::size_t>(0, limit - 1)(randomNumbers);
}

void runOn(const QByteArray& input)
{
    LLVMFuzzerTestOneInput(reinterpret_cast<const std::uint8_t*>(input.constData()),
                           static_cast<std::size_t>(input.size()));
}

QByteArray piece(const QByteArray& text)
{
    const auto size = static_cast<std::size_t>(text.size());
    const auto start = static_cast<qsizetype>(below(size + 1));
    return text.mid(start, static_cast<qsizetype>(below(size + 1)));
}

void mutate(QByteArray& input, const QList<QByteArray>& seeds)
{
    const auto size = static_cast<std::size_t>(input.size());
    const auto position = static_cast<qsizetype>(below(size + 1));
    switch (below(6)) {
    case 0:
        if (size > 0)
            input[static_cast<qsizetype>(below(size))] = static_cast<char>(below(256));
        break;
    case 1:
        if (size > 0) {
            char& byte = input.data()[below(size)];
            byte = static_cast<char>(byte ^ (1 << below(8)));
        }
        break;
    case 2:
        input.insert(position, static_cast<char>(below(256)));
        break;
    case 3:
        input.remove(position, static_cast<qsizetype>(below(16)));
        break;
    case 4:
        input.insert(position, piece(input));
        break;
    default:
        input.insert(position,
                     piece(seeds[static_cast<qsizetype>(below(static_cast<std::size_t>(seeds.size())))]));
        break;
    }
}

QByteArray readAll(const QString& path)
{
    QFile file(path);
    if (!file.open(QIODevice::ReadOnly))
        qFatal("Cannot read %s", qPrintable(path));
    return file.readAll();
}

} // namespace

int main(int argc, char* argv[])
{
    const QString path = QString::fromLocal8Bit(argc > 1 ? argv[1] : ".");
    if (QFileInfo(path).isFile()) {
        runOn(readAll(path));
        return 0;
    }
    QList<QByteArray> seeds{QByteArray()};
    for (const QFileInfo& file : QDir(path).entryInfoList(QDir::Files, QDir::Name))
        seeds.append(readAll(file.filePath()));
    for (const QByteArray& seed : seeds)
        runOn(seed);
    const int rounds = argc > 2 ? std::atoi(argv[2]) : 20'000;
    for (int round = 0; round < rounds; ++round) {
        QByteArray input = seeds[static_cast<qsizetype>(below(static_cast<std::size_t>(seeds.size())))];
        for (std::size_t changes = 1 + below(8); changes > 0; --changes)
            mutate(input, seeds);
        input.truncate(1 << 16);
        runOn(input);
    }
    std::printf("%d inputs\n", rounds + static_cast<int>(seeds.size()));
    return 0;
}
