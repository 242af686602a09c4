#include "offline/Speller.h"

#include <algorithm>
#include <map>

#include "offline/BritishSpelling.h"
#include "offline/Misspellings.h"
#include "offline/Token.h"
#include "offline/WordClasses.h"

namespace quillmarsh::service {

namespace {

constexpr std::string_view letters = "abcdefghijklmnopqrstuvwxyz";
constexpr std::string_view vowels = "aeiou";
/// The highest price at which a correction is still believable, and the distance that the second best must
/// keep.
constexpr double acceptable = 1.0;
constexpr double acceptableStrict = 0.2; // a letter doubled, or two swapped
constexpr double acceptableRare = 0.55;  // two letters swapped, nothing else
constexpr double margin = 0.25;
constexpr double rareMargin = 0.19; // of a word that hardly anybody uses from one that everybody does
/// How much less a word costs that people use all the time.
constexpr double commonDiscount = 0.45;
constexpr double firstLetterPrice = 0.5;

bool isVowel(char c)
{
    return vowels.find(c) != std::string_view::npos;
}

bool areNeighbours(char a, char b)
{
    constexpr std::string_view rows[] = {"qwertyuiop", "asdfghjkl", "zxcvbnm"};
    for (const std::string_view row : rows) {
        const size_t x = row.find(a);
        const size_t y = row.find(b);
        if (x != std::string_view::npos && y != std::string_view::npos) {
            return x + 1 == y || y + 1 == x;
        }
    }
    return false;
}

/// Collects every dictionary word that one slip of the pen or the keyboard away, with the price of that slip.
class Candidates final
{
public:
    Candidates(const Lexicon& lexicon, const std::string& word) : lexicon_(lexicon), word_(word) {}

    std::string best(bool strict)
    {
        transpositions();
        deletions();
        substitutions();
        insertions();
        soundAlikes();
        return choose(strict);
    }

private:
    void offer(const std::string& candidate, double price, size_t at)
    {
        if (!lexicon_.hasForm(candidate)) {
            return;
        }
        const double whole =
            price + (at == 0 ? firstLetterPrice : 0) - (isCommonWord(candidate) ? commonDiscount : 0);
        const auto [entry, isNew] = prices_.emplace(candidate, whole);
        if (!isNew) {
            entry->second = std::min(entry->second, whole);
        }
    }

    void transpositions()
    {
        for (size_t i = 0; i + 1 < word_.size(); ++i) {
            std::string candidate = word_;
            std::swap(candidate[i], candidate[i + 1]);
            offer(candidate, 0.55, i);
        }
    }

    void deletions()
    {
        // a consonant too many that is no double is rather an unknown word ("readv") than a slip
        for (size_t i = 1; i < word_.size(); ++i) {
            const bool doubled = word_[i] == word_[i - 1];
            const bool likely = isVowel(word_[i]) || areNeighbours(word_[i], word_[i - 1]);
            offer(word_.substr(0, i) + word_.substr(i + 1), doubled ? 0.6 : likely ? 1.1 : 1.5, i);
        }
    }

    void substitutions()
    {
        for (size_t i = 0; i < word_.size(); ++i) {
            std::string candidate = word_;
            for (const char c : letters) {
                candidate[i] = c;
                const bool bothVowels = isVowel(c) && isVowel(word_[i]);
                offer(candidate, bothVowels ? 0.8 : areNeighbours(c, word_[i]) ? 1.1 : 1.35, i);
            }
        }
    }

    void insertions()
    {
        for (size_t i = 1; i <= word_.size(); ++i) {
            for (const char c : letters) {
                const bool doubled = word_[i - 1] == c || (i < word_.size() && word_[i] == c);
                const bool atEnd = i == word_.size() && c != 'e'; // rather a clipped word ("repl")
                offer(word_.substr(0, i) + c + word_.substr(i), doubled ? 0.6 : atEnd ? 1.3 : 1.0, i);
            }
        }
    }

    void soundAlikes()
    {
        for (const auto& [from, to] : lexicon_.soundAlikes()) {
            for (size_t at = word_.find(from); at != std::string::npos; at = word_.find(from, at + 1)) {
                offer(word_.substr(0, at) + to + word_.substr(at + from.size()), 1.0, at);
            }
        }
    }

    [[nodiscard]] std::string choose(bool strict) const
    {
        if (prices_.empty()) {
            return {};
        }
        const auto& [best, bestPrice] = *std::min_element(
            prices_.begin(), prices_.end(), [](const auto& a, const auto& b) { return a.second < b.second; });
        const bool common = isCommonWord(best);
        // a short word is near to many others; a rare word is seldom what was meant, and what is near to one
        // is rather a word that no dictionary has
        const double limit =
            !common  ? (word_.size() > 6 && !strict ? acceptableRare : 0.0)
            : strict ? acceptableStrict
                     : acceptable - (word_.size() < 5 ? 0.5 : 0.0) - (word_.size() < 6 ? 0.3 : 0.0);
        return bestPrice <= limit && isClear(best, bestPrice) ? best : std::string();
    }

    [[nodiscard]] bool isClear(const std::string& best, double bestPrice) const
    {
        return std::all_of(prices_.begin(), prices_.end(), [&](const auto& other) {
            const bool rival = !isCommonWord(best) || isCommonWord(other.first);
            return other.first == best || other.second - bestPrice >= (rival ? margin : rareMargin);
        });
    }

    const Lexicon& lexicon_;
    const std::string& word_;
    std::map<std::string, double> prices_;
};

} // namespace

bool Speller::isRight(const std::string& word) const
{
    Token token = makeWord(word);
    return isJargon(token.lower) || lexicon_.knows(word) || isAllCapitals(word) ||
           isBritishSpelling(token.lower, lexicon_);
}

std::string Speller::correction(const std::string& lower, bool strict) const
{
    if (std::string known = wellKnownCorrection(lower); !known.empty()) {
        return known;
    }
    const bool plain = std::all_of(lower.begin(), lower.end(), isLower);
    if (lower.size() < 4 || lower.size() > 24 || !plain) {
        return {};
    }
    return Candidates(lexicon_, lower).best(strict);
}

} // namespace quillmarsh::service
