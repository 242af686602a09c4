#pragma once

#include <memory>
#include <mutex>
#include <string>
#include <string_view>
#include <unordered_map>
#include <unordered_set>
#include <utility>
#include <vector>

class Hunspell;

namespace quillmarsh::service {

/// Which words there are: a hunspell dictionary. All its word forms are also kept written out, because
/// looking one up there takes a tenth of a microsecond, and finding what a misspelt word could be needs
/// hundreds of look-ups.
class Lexicon final
{
public:
    /// Loads PATH.dic and PATH.aff. Throws ConfigError when they cannot be read.
    explicit Lexicon(const std::string& path);
    ~Lexicon();
    Lexicon(const Lexicon&) = delete;
    Lexicon& operator=(const Lexicon&) = delete;

    /// A correctly spelt word as it stands. May be called from any thread.
    [[nodiscard]] bool knows(const std::string& word) const;
    /// A word form that may be offered as a correction. Faster than `knows`, without its generosity.
    [[nodiscard]] bool hasForm(std::string_view word) const { return forms_.contains(word); }
    /// The one way to write a lower-case word with capitals ("monday", "iphone"); empty when there is none.
    [[nodiscard]] std::string withCapitals(std::string_view lower) const;
    /// Replacements that people's ears suggest ("f" for "ph"), from the dictionary's own table.
    [[nodiscard]] const std::vector<std::pair<std::string, std::string>>& soundAlikes() const
    {
        return soundAlikes_;
    }

private:
    void add(const std::string& form);

    std::unique_ptr<Hunspell> hunspell_;
    mutable std::mutex mutex_; ///< hunspell is not made for threads
    std::vector<std::unique_ptr<std::string>> blocks_;
    std::unordered_set<std::string_view> forms_;
    std::unordered_map<std::string, std::string> capitals_;
    std::vector<std::pair<std::string, std::string>> soundAlikes_;
};

} // namespace quillmarsh::service
