#include "base/IniFile.h"

#include <charconv>
#include <fstream>
#include <sstream>

#include "base/Text.h"

namespace quillmarsh::service {

IniFile::IniFile(std::string_view text, std::string name) : name_(std::move(name))
{
    std::string section;
    int number = 0;
    while (!text.empty()) {
        const size_t end = text.find('\n');
        readLine(trimmed(text.substr(0, end)), ++number, section);
        text = end == std::string_view::npos ? std::string_view{} : text.substr(end + 1);
    }
}

IniFile IniFile::load(const std::string& path)
{
    std::ifstream file(path, std::ios::binary);
    std::ostringstream text;
    text << file.rdbuf();
    if (!file) {
        throw ConfigError("cannot read the configuration file " + path);
    }
    return {text.str(), path};
}

void IniFile::readLine(std::string_view line, int number, std::string& section)
{
    if (line.empty() || line.front() == '#' || line.front() == ';') {
        return;
    }
    if (line.front() == '[') {
        if (line.back() != ']' || line.size() < 3) {
            failAt(number, "a section is written [name]");
        }
        section = trimmed(line.substr(1, line.size() - 2));
        return;
    }
    const size_t equals = line.find('=');
    const std::string_view key = trimmed(line.substr(0, equals));
    if (equals == std::string_view::npos || key.empty()) {
        failAt(number, "expected key = value");
    }
    if (section.empty()) {
        failAt(number, "a key stands before the first [section]");
    }
    Value value{std::string(trimmed(line.substr(equals + 1))), number, false};
    if (!values_.emplace(section + "." + std::string(key), std::move(value)).second) {
        failAt(number, "\"" + std::string(key) + "\" is given twice");
    }
}

std::string IniFile::text(const std::string& key, const std::string& fallback)
{
    const auto found = values_.find(key);
    if (found == values_.end()) {
        return fallback;
    }
    found->second.known = true;
    return found->second.text;
}

long IniFile::number(const std::string& key, long fallback, long least, long most)
{
    const std::string written = text(key, std::to_string(fallback));
    long value = 0;
    const auto [end, error] = std::from_chars(written.data(), written.data() + written.size(), value);
    if (error != std::errc() || end != written.data() + written.size() || value < least || value > most) {
        fail(key, "must be a whole number from " + std::to_string(least) + " to " + std::to_string(most));
    }
    return value;
}

void IniFile::fail(const std::string& key, const std::string& why) const
{
    const auto found = values_.find(key);
    failAt(found == values_.end() ? 0 : found->second.line, key + " " + why);
}

void IniFile::failAt(int line, const std::string& why) const
{
    throw ConfigError(name_ + (line > 0 ? ":" + std::to_string(line) : "") + ": " + why);
}

void IniFile::finish() const
{
    for (const auto& [key, value] : values_) {
        if (!value.known) {
            failAt(value.line, "unknown key " + key);
        }
    }
}

} // namespace quillmarsh::service
