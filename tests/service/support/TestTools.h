#pragma once

#include <chrono>
#include <filesystem>
#include <functional>
#include <string>
#include <vector>

namespace quillmarsh::service::test {

/// A folder that is gone when the test ends.
class TemporaryFolder final
{
public:
    TemporaryFolder();
    ~TemporaryFolder();
    TemporaryFolder(const TemporaryFolder&) = delete;
    TemporaryFolder& operator=(const TemporaryFolder&) = delete;

    [[nodiscard]] std::string path(const std::string& name = {}) const;
    /// Writes a file and returns its path.
    std::string write(const std::string& name, const std::string& content) const;

private:
    std::filesystem::path path_;
};

/// A well-formed installation token, another one for every number.
[[nodiscard]] std::string token(int number);
/// The "Authorization" value of that token.
[[nodiscard]] std::string bearer(int number);
/// The body of a rewrite request.
[[nodiscard]] std::string rewriteBody(const std::string& text, const std::string& instruction = {});
[[nodiscard]] std::string readWhole(const std::string& file);
/// Waits until `condition` holds, at most a minute: a busy machine may be that slow. Returns whether it does.
[[nodiscard]] bool eventually(const std::function<bool()>& condition);
/// The shortest of up to five runs of `work`; ends as soon as one keeps within `limit`. What the work itself
/// takes it takes in every run, while a busy machine delays only some of them.
[[nodiscard]] std::chrono::milliseconds shortest(std::chrono::milliseconds limit,
                                                 const std::function<void()>& work);
/// How long the threads of a process were ready to run while other programs had the processors.
[[nodiscard]] std::chrono::nanoseconds timeWithoutProcessor(int process);

} // namespace quillmarsh::service::test
