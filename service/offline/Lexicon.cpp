#include "offline/Lexicon.h"

#include <algorithm>
#include <fstream>

#include <hunspell.hxx>

#include "base/IniFile.h"
#include "base/Text.h"
#include "offline/AffixFile.h"
#include "offline/Token.h"

namespace quillmarsh::service {

namespace {

constexpr size_t blockBytes = 256UL * 1024UL;

} // namespace

Lexicon::Lexicon(const std::string& path)
{
    const AffixFile affixes(path);
    soundAlikes_ = affixes.replacements();
    std::ifstream words(path + ".dic");
    if (!words) {
        throw ConfigError("cannot read the dictionary " + path + ".dic");
    }
    hunspell_ = std::make_unique<Hunspell>((path + ".aff").c_str(), (path + ".dic").c_str());
    forms_.reserve(200'000);
    std::string line;
    std::getline(words, line); // the number of entries
    while (std::getline(words, line)) {
        affixes.expand(line, [this](const std::string& form) { add(form); });
    }
}

Lexicon::~Lexicon() = default;

void Lexicon::add(const std::string& form)
{
    if (form.empty() || forms_.contains(form)) {
        return;
    }
    if (blocks_.empty() || blocks_.back()->size() + form.size() > blocks_.back()->capacity()) {
        blocks_.push_back(std::make_unique<std::string>());
        blocks_.back()->reserve(std::max(blockBytes, form.size()));
    }
    std::string& block = *blocks_.back();
    const size_t begin = block.size();
    block += form;
    forms_.insert(std::string_view(block).substr(begin));
    if (std::any_of(form.begin(), form.end(), isUpper) && !form.ends_with("'s")) {
        const auto [entry, isNew] = capitals_.emplace(asciiLower(form), form);
        if (!isNew) {
            entry->second.clear(); // two ways to write it: none is "the" way
        }
    }
}

bool Lexicon::knows(const std::string& word) const
{
    if (hasForm(word)) {
        return true;
    }
    const std::lock_guard lock(mutex_);
    return hunspell_->spell(word);
}

std::string Lexicon::withCapitals(std::string_view lower) const
{
    const auto found = capitals_.find(std::string(lower));
    return found == capitals_.end() ? std::string() : found->second;
}

} // namespace quillmarsh::service
