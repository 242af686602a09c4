#include "offline/AffixFile.h"

#include <fstream>
#include <sstream>

#include "base/IniFile.h"

namespace quillmarsh::service {

namespace {

/// Splits "[^aeiou]y" into its positions.
std::vector<std::string> positionsOf(const std::string& condition)
{
    std::vector<std::string> positions;
    for (size_t i = 0; i < condition.size(); ++i) {
        const size_t end = condition[i] == '[' ? condition.find(']', i) : i;
        positions.push_back(condition.substr(i, end - i + 1));
        i = end;
    }
    return positions;
}

bool fits(char c, const std::string& position)
{
    if (position[0] != '[') {
        return position[0] == '.' || position[0] == c;
    }
    const bool inverted = position[1] == '^';
    return (position.find(c, inverted ? 2 : 1) != std::string::npos) != inverted;
}

bool meets(const std::string& word, const std::string& condition, bool atBegin)
{
    const std::vector<std::string> positions = positionsOf(condition);
    if (positions.size() > word.size()) {
        return condition == ".";
    }
    const size_t offset = atBegin ? 0 : word.size() - positions.size();
    for (size_t i = 0; i < positions.size(); ++i) {
        if (!fits(word[offset + i], positions[i])) {
            return false;
        }
    }
    return true;
}

} // namespace

AffixFile::AffixFile(const std::string& path)
{
    std::ifstream file(path + ".aff");
    if (!file) {
        throw ConfigError("cannot read the dictionary " + path + ".aff");
    }
    for (std::string line; std::getline(file, line);) {
        readLine(line);
    }
}

void AffixFile::readLine(const std::string& line)
{
    std::istringstream words(line);
    std::string keyword;
    std::string flag;
    std::string strip;
    std::string add;
    std::string condition;
    words >> keyword >> flag >> strip >> add >> condition;
    if (keyword == "REP" && !strip.empty()) {
        replacements_.emplace_back(flag, strip);
    } else if (keyword == "NOSUGGEST" || keyword == "ONLYINCOMPOUND") {
        neverOffered_ += flag;
    } else if ((keyword == "PFX" || keyword == "SFX") && condition.empty()) {
        crosses_[flag[0]] = strip == "Y";
    } else if (keyword == "PFX" || keyword == "SFX") {
        const std::string added = add.substr(0, add.find('/'));
        rules_.emplace(flag[0], Rule{keyword == "PFX", crosses_[flag[0]], strip == "0" ? "" : strip,
                                     added == "0" ? "" : added, condition});
    }
}

bool AffixFile::Rule::apply(const std::string& word, std::string& form) const
{
    const bool stripFits = prefix ? word.starts_with(strip) : word.ends_with(strip);
    if (!stripFits || word.size() <= strip.size() || !meets(word, condition, prefix)) {
        return false;
    }
    form = prefix ? add + word.substr(strip.size()) : word.substr(0, word.size() - strip.size()) + add;
    return true;
}

void AffixFile::expand(std::string_view entry, const Consumer& consumer) const
{
    const size_t slash = entry.find('/');
    const std::string word(entry.substr(0, std::min(slash, entry.find_first_of(" \t\r"))));
    const std::string_view rest =
        slash == std::string_view::npos ? std::string_view{} : entry.substr(slash + 1);
    const std::string_view flags = rest.substr(0, rest.find_first_of(" \t\r"));
    if (flags.find_first_of(neverOffered_) != std::string_view::npos) {
        return;
    }
    consumer(word);
    std::string form;
    std::string twice;
    for (const char flag : flags) {
        const auto [first, last] = rules_.equal_range(flag);
        for (auto rule = first; rule != last; ++rule) {
            if (!rule->second.apply(word, form)) {
                continue;
            }
            consumer(form);
            for (const char other :
                 rule->second.prefix || !rule->second.crosses ? std::string_view{} : flags) {
                const auto [begin, end] = rules_.equal_range(other);
                for (auto second = begin; second != end; ++second) {
                    if (second->second.prefix && second->second.crosses &&
                        second->second.apply(form, twice)) {
                        consumer(twice);
                    }
                }
            }
        }
    }
}

} // namespace quillmarsh::service
