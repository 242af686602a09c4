#include "support/TestTools.h"

#include <algorithm>
#include <chrono>
#include <fstream>
#include <sstream>
#include <stdexcept>
#include <stdlib.h>
#include <thread>

#include <nlohmann/json.hpp>

namespace quillmarsh::service::test {

TemporaryFolder::TemporaryFolder()
{
    std::string name = (std::filesystem::temp_directory_path() / "quillmarsh-service-XXXXXX").string();
    if (::mkdtemp(name.data()) == nullptr) {
        throw std::runtime_error("no temporary folder");
    }
    path_ = name;
}

TemporaryFolder::~TemporaryFolder()
{
    std::error_code ignored;
    std::filesystem::remove_all(path_, ignored);
}

std::string TemporaryFolder::path(const std::string& name) const
{
    return name.empty() ? path_.string() : (path_ / name).string();
}

std::string TemporaryFolder::write(const std::string& name, const std::string& content) const
{
    std::ofstream(path(name), std::ios::binary) << content;
    return path(name);
}

std::string token(int number)
{
    std::string digits = std::to_string(number);
    return std::string(42 - digits.size(), 'A') + digits + "A"; // 43 characters are 32 bytes
}

std::string bearer(int number)
{
    return "Bearer " + token(number);
}

std::string rewriteBody(const std::string& text, const std::string& instruction)
{
    nlohmann::json body{{"text", text}};
    if (!instruction.empty()) {
        body["instruction"] = instruction;
    }
    return body.dump();
}

std::string readWhole(const std::string& file)
{
    std::ifstream stream(file, std::ios::binary);
    std::ostringstream content;
    content << stream.rdbuf();
    return content.str();
}

bool eventually(const std::function<bool()>& condition)
{
    const auto deadline = std::chrono::steady_clock::now() + std::chrono::minutes(1);
    while (!condition()) {
        if (std::chrono::steady_clock::now() > deadline) {
            return false;
        }
        std::this_thread::sleep_for(std::chrono::milliseconds(5));
    }
    return true;
}

std::chrono::milliseconds shortest(std::chrono::milliseconds limit, const std::function<void()>& work)
{
    using Clock = std::chrono::steady_clock;
    auto best = std::chrono::milliseconds::max();
    for (int round = 0; round < 5 && best > limit; ++round) {
        const auto start = Clock::now();
        work();
        best = std::min(best, std::chrono::ceil<std::chrono::milliseconds>(Clock::now() - start));
    }
    return best;
}

std::chrono::nanoseconds timeWithoutProcessor(int process)
{
    long long waited = 0;
    std::error_code gone;
    for (const auto& thread :
         std::filesystem::directory_iterator("/proc/" + std::to_string(process) + "/task", gone)) {
        long long ran = 0;
        long long ready = 0;
        std::ifstream(thread.path() / "schedstat") >> ran >> ready;
        waited += ready;
    }
    return std::chrono::nanoseconds(waited);
}

} // namespace quillmarsh::service::test
