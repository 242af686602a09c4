#pragma once

#include <functional>
#include <map>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

namespace quillmarsh::service {

/// The affix rules of a hunspell dictionary with one-character flags, as far as writing out its words needs
/// them.
class AffixFile final
{
public:
    using Consumer = std::function<void(const std::string&)>;

    /// Reads PATH.aff. Throws ConfigError when it cannot be read.
    explicit AffixFile(const std::string& path);

    /// Hands every form of a line of the .dic file ("word/FLAGS") to `consumer`.
    void expand(std::string_view entry, const Consumer& consumer) const;
    [[nodiscard]] const std::vector<std::pair<std::string, std::string>>& replacements() const
    {
        return replacements_;
    }

private:
    struct Rule
    {
        bool prefix = false;
        bool crosses = false;
        std::string strip;
        std::string add;
        std::string condition;

        [[nodiscard]] bool apply(const std::string& word, std::string& form) const;
    };

    void readLine(const std::string& line);

    std::multimap<char, Rule> rules_;
    std::map<char, bool> crosses_;
    std::vector<std::pair<std::string, std::string>> replacements_;
    std::string neverOffered_;
};

} // namespace quillmarsh::service
