#pragma once

#include "engine/Engine.h"
#include "offline/Instruction.h"
#include "offline/Lexicon.h"
#include "offline/Speller.h"
#include "offline/Token.h"

namespace quillmarsh::service {

/// Corrects English, and makes it shorter, more formal or more casual, by a dictionary and rules, on this
/// machine. Its first rule is that a correct sentence stays as it is. What it cannot do it says.
class OfflineEngine final : public Engine
{
public:
    /// Loads a hunspell dictionary (a path without ".dic"). Throws ConfigError when that fails.
    explicit OfflineEngine(const std::string& dictionary);

    [[nodiscard]] std::string name() const override { return "offline"; }
    [[nodiscard]] EngineAnswer rewrite(const RewriteJob& job, Deadline deadline) override;

private:
    void correct(Tokens& tokens, bool spelling) const;
    void polish(Tokens& tokens) const;

    Lexicon lexicon_;
    Speller speller_;
};

} // namespace quillmarsh::service
