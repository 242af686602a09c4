#pragma once

#include <optional>
#include <string>
#include <string_view>

namespace quillmarsh::service {

/// Groups of English words that the rules speak of.
enum class WordClass {
    Base,        ///< <base>: the base form of a common verb ("send")
    ThirdPerson, ///< <3rd>: a base form of that list with its -s
    Ing,         ///< <ing>: a verb with -ing, but no noun such as "thing"
    Past,        ///< <past>: an irregular past form that is not also a base form ("went")
    Participle,  ///< <pp>: a past participle
    Adjective,   ///< <adj>: a common adjective
    Comparative, ///< <comp>: a comparative ("better", "faster")
    Possession,  ///< <thing>: a concrete noun that one can have and that no verb or adjective is ("car")
    Item, ///< <item>: one thing or event that can be counted, in the singular; nothing collective ("meeting")
    Subject, ///< <subj>: a personal pronoun as a subject
    Name,    ///< <name>: begins with a capital
    Plural,  ///< <plural>: a common word with the -s of a plural (or of a verb)
    Number,  ///< <number>: begins with a digit; only as a neighbour
    Word     ///< <word>: any word
};

/// The class of a name as written in a rule, without the angle brackets.
[[nodiscard]] std::optional<WordClass> wordClassNamed(std::string_view name);
/// Whether a word, in lower case with plain apostrophes, belongs to a class. Name looks at `text`, the word
/// as written.
[[nodiscard]] bool isOfClass(const std::string& lower, std::string_view text, WordClass wordClass);

[[nodiscard]] bool isAuxiliary(const std::string& lower);  ///< forms of be, have, do, and the modals
[[nodiscard]] bool isFiniteVerb(const std::string& lower); ///< surely a verb with a tense
[[nodiscard]] bool
isSubjectPronoun(const std::string& lower); ///< also "there", "this", "everyone", "i'm", "it's"
[[nodiscard]] bool isDeterminer(const std::string& lower); ///< the, a, my, some, …
[[nodiscard]] bool
isFunctionWord(const std::string& lower); ///< the small words that every English text is full of
/// One of the small words that French, German, Spanish, Italian, Dutch and Portuguese are full of, and
/// English is not.
[[nodiscard]] bool isForeignSmallWord(const std::string& lower);
/// "pain au chocolat", "van der Berg": an article or preposition that stands in names and foreign terms, too.
[[nodiscard]] bool isForeignParticle(const std::string& lower);
/// A word that begins a sentence and never names a kind of file, a host or a member ("thanks", "we").
[[nodiscard]] bool opensSentence(const std::string& lower);
[[nodiscard]] bool isCommonWord(const std::string& lower); ///< one of the words people write most
[[nodiscard]] bool isJargon(const std::string& lower);     ///< right, although no dictionary has it ("repo")
/// The base form of an irregular past form ("went" gives "go"); empty when there is none.
[[nodiscard]] std::string baseOfPast(const std::string& lower);
/// The participle of an irregular past form ("went" gives "gone"); the word itself when there is none.
[[nodiscard]] std::string participleOfPast(const std::string& lower);
/// The past form of an irregular verb that was given a regular one ("rised" gives "rose"); empty for all
/// else.
[[nodiscard]] std::string pastOfRegularised(const std::string& lower);

} // namespace quillmarsh::service
