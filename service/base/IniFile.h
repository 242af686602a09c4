#pragma once

#include <map>
#include <stdexcept>
#include <string>
#include <string_view>

namespace quillmarsh::service {

/// The configuration cannot be used. The text says what and where, for the operator.
class ConfigError : public std::runtime_error
{
public:
    using std::runtime_error::runtime_error;
};

/// An INI text: `[section]`, `key = value`, comments on lines of their own that begin with "#" or ";".
/// Every value must be asked for: `finish` refuses what nobody knows, so that a misspelt key is not silently
/// dead.
class IniFile final
{
public:
    /// Throws ConfigError with the line number for anything that is not INI, and for a key given twice.
    IniFile(std::string_view text, std::string name);
    /// Reads a file. Throws ConfigError when it cannot be read.
    [[nodiscard]] static IniFile load(const std::string& path);

    /// The value, or `fallback` when the key is absent.
    [[nodiscard]] std::string text(const std::string& key, const std::string& fallback);
    /// A whole number from `least` to `most`; throws ConfigError for anything else.
    [[nodiscard]] long number(const std::string& key, long fallback, long least, long most);
    /// Throws ConfigError about `key` with the line it stands in.
    [[noreturn]] void fail(const std::string& key, const std::string& why) const;
    /// Throws ConfigError when a key was never asked for.
    void finish() const;

private:
    struct Value
    {
        std::string text;
        int line = 0;
        bool known = false;
    };

    void readLine(std::string_view line, int number, std::string& section);
    [[noreturn]] void failAt(int line, const std::string& why) const;

    std::string name_;
    std::map<std::string, Value> values_; ///< by "section.key"
};

} // namespace quillmarsh::service
