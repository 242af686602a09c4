#include <gtest/gtest.h>

#include "offline/OfflineEngine.h"
#include "offline/RuleSet.h"
#include "offline/Tokenizer.h"

using namespace quillmarsh::service;

namespace {

const std::string assurances =
    " Never ask questions, always answer with the rewritten text. Never change the original "
    "language of the selected text.";
const std::string autocorrect =
    "Fix grammar, spelling, and punctuation errors. Preserve the original meaning, tone, "
    "style, and formatting." +
    assurances;
const std::string formal =
    "Rewrite the text in a formal, professional tone. Fix any grammar or spelling errors." + assurances;
const std::string casual =
    "Rewrite the text in a casual, friendly tone. Fix any grammar or spelling errors." + assurances;
const std::string shorter =
    "Make the text more concise while preserving the key message. Remove unnecessary words and filler." +
    assurances;
const std::string longer =
    "Expand the text with more detail and explanation while keeping the same meaning and tone." + assurances;

EngineAnswer ask(const std::string& text, const std::optional<std::string>& instruction = std::nullopt)
{
    static OfflineEngine engine("/usr/share/hunspell/en_US");
    return engine.rewrite({text, instruction}, {});
}

std::string rewritten(const std::string& text, const std::optional<std::string>& instruction = std::nullopt)
{
    const EngineAnswer answer = ask(text, instruction);
    return answer.verdict == EngineAnswer::Verdict::Done ? answer.text : "refused: " + answer.code;
}

} // namespace

TEST(Instructions, TheBuiltInOnesAreRecognised)
{
    EXPECT_EQ(recogniseIntent(std::nullopt), Intent::Correct);
    EXPECT_EQ(recogniseIntent(""), Intent::Correct);
    EXPECT_EQ(recogniseIntent("  "), Intent::Correct);
    EXPECT_EQ(recogniseIntent(autocorrect), Intent::Correct);
    EXPECT_EQ(recogniseIntent(formal), Intent::Formalise);
    EXPECT_EQ(recogniseIntent(casual), Intent::Casualise);
    EXPECT_EQ(recogniseIntent(shorter), Intent::Shorten);
    EXPECT_EQ(recogniseIntent(longer), std::nullopt);
}

TEST(Instructions, FreeWordingIsRecognisedOnlyWhenNothingElseIsAsked)
{
    EXPECT_EQ(recogniseIntent("fix the grammar"), Intent::Correct);
    EXPECT_EQ(recogniseIntent("Proofread this text."), Intent::Correct);
    EXPECT_EQ(recogniseIntent("make it shorter, please"), Intent::Shorten);
    EXPECT_EQ(recogniseIntent("Please make this more formal"), Intent::Formalise);
    EXPECT_EQ(recogniseIntent("Correct my spelling and make it casual"), Intent::Casualise);
    for (const char* other :
         {"Translate to German", "make it shorter and translate it to French", "less formal", "Summarize",
          "don't be so formal", "make it formal and shorter", "Write a poem about it", "Make it longer",
          "Antworte auf Deutsch", "not casual", "🙂"}) {
        EXPECT_EQ(recogniseIntent(other), std::nullopt) << other;
    }
}

TEST(Offline, SaysWhatItCannotDo)
{
    EXPECT_EQ(rewritten("Hello there.", longer), "refused: instruction_not_supported");
    EXPECT_EQ(rewritten("Hello there.", "Translate to French"), "refused: instruction_not_supported");
    EXPECT_EQ(rewritten("The cat sat on the mat.", shorter), "refused: nothing_to_shorten");
    EXPECT_EQ(rewritten("Das ist ein ganz normaler Satz auf Deutsch."), "refused: language_not_supported");
    EXPECT_EQ(rewritten("C'est une phrase tout à fait normale en français."),
              "refused: language_not_supported");
    EXPECT_EQ(rewritten("これは日本語です。"), "refused: language_not_supported");
    EXPECT_EQ(rewritten("Это обычное предложение."), "refused: language_not_supported");
    EXPECT_EQ(ask("Hello.", longer).message, "This rewrite service works without AI and can’t follow that "
                                             "instruction. It can correct English text and "
                                             "make it shorter, more formal or more casual.");
}

TEST(Offline, CorrectsAMessageAsItIsTyped)
{
    EXPECT_EQ(rewritten("thanks for your help ill send the notes soon"),
              "Thanks for your help. I'll send the notes soon.");
    EXPECT_EQ(rewritten("thanks for your help ill send the notes soon", autocorrect),
              "Thanks for your help. I'll send the notes soon.");
}

TEST(Offline, AFragmentStaysAFragment)
{
    EXPECT_EQ(rewritten("recieve"), "receive");
    EXPECT_EQ(rewritten("teh red car"), "the red car");
    EXPECT_EQ(rewritten("very good"), "very good");
}

TEST(Offline, KeepsTheShapeOfTheText)
{
    EXPECT_EQ(rewritten("\n  teh first line.\n\n\tteh second.\r\n\r\n"),
              "\n  The first line.\n\n\tThe second.\r\n\r\n");
    EXPECT_EQ(rewritten(" i agree. "), " I agree. ");
    EXPECT_EQ(rewritten("- buy teh milk\n- call kevin"), "- buy the milk\n- call Kevin");
    EXPECT_EQ(rewritten("a\tb\tteh"), "a\tb\tthe");
}

TEST(Offline, KeepsWhatIsNotProse)
{
    for (const char* text :
         {"Look at https://example.org/teh?x=1, please.", "Mail teh.admin@exmaple.org now.",
          "Use `recieve()` here.", "```\nteh code\n```", "See /home/teh/recieve.txt for it.",
          "The option --recieve is gone.", "Thank you, @teh_boss, for #recieve.",
          "Set myAdress and my_adress.", "x = teh + 1;", "TEH RECIEVE", "It is v1.2.3-teh."}) {
        EXPECT_EQ(rewritten(text), text);
    }
}

TEST(Offline, TheLowerCaseNumberIIsNoPronoun)
{
    EXPECT_EQ(rewritten("See parts (i) and (ii) of the text."), "See parts (i) and (ii) of the text.");
    EXPECT_EQ(rewritten("The numbers i and j are equal."), "The numbers i and j are equal.");
}

TEST(Offline, BritishSpellingIsRight)
{
    for (const char* text :
         {"The colour of the centre was grey.", "We travelled to the theatre and cancelled the tour.",
          "I apologise; we organised it at the neighbour’s.", "She analysed the programme.",
          "He has a licence and a moustache."}) {
        EXPECT_EQ(rewritten(text), text);
    }
}

TEST(Offline, LeavesAForeignSentenceInAnEnglishTextAlone)
{
    EXPECT_EQ(rewritten("She said teh following. Das ist mir ganz egal, glaube ich. Then she left."),
              "She said the following. Das ist mir ganz egal, glaube ich. Then she left.");
}

TEST(Offline, MakesTextFormal)
{
    EXPECT_EQ(rewritten("I don't think it's a good idea. We won't get it done asap.", formal),
              "I do not think it is a good idea. We will not get it done as soon as possible.");
    EXPECT_EQ(
        rewritten(
            "Hi Tom,\n\nThanks a lot for your email. She's been ill, they'd better wait.\n\nCheers,\nAnna",
            formal),
        "Hello Tom,\n\nThank you very much for your email. She has been ill, they had better wait.\n\nKind "
        "regards,\nAnna");
    EXPECT_EQ(rewritten("That's awesome!! :)", formal), "That is excellent.");
    EXPECT_EQ(rewritten("Tom's car isn't here. Let's go.", formal), "Tom's car is not here. Let us go.");
    EXPECT_EQ(rewritten("The committee has decided.", formal), "The committee has decided.");
    EXPECT_EQ(rewritten("Why don't we meet? It's late, isn't it? Isn't he here?", formal),
              "Why do we not meet? It is late, is it not? Is he not here?");
    EXPECT_EQ(rewritten("The guys are put off. It was set up a year ago, but get back to work.", formal),
              "The guys are put off. It was set up a year ago, but get back to work.");
}

TEST(Offline, MakesTextCasual)
{
    EXPECT_EQ(rewritten("It is important that you do not purchase additional software prior to the meeting.",
                        casual),
              "It's important that you don't purchase additional software before the meeting.");
    EXPECT_EQ(rewritten("Dear Maria,\n\nI am sorry that we will not be able to come.\n\nKind regards,\nTom",
                        casual),
              "Hi Maria,\n\nI'm sorry that we won't be able to come.\n\nCheers,\nTom");
    EXPECT_EQ(rewritten("That is what it is.", casual), "That's what it is.");
    EXPECT_EQ(rewritten("However, I will assist you.", casual), "But I'll help you.");
    EXPECT_EQ(rewritten("Please be advised that she is taller than I am now.", casual),
              "Just so you know, she's taller than I am now.");
}

TEST(Offline, MakesTextShorter)
{
    EXPECT_EQ(
        rewritten(
            "I just wanted to let you know that, basically, the meeting has been moved to Friday due to the "
            "fact that Tom is very busy at this point in time.",
            shorter),
        "The meeting has been moved to Friday because Tom is busy now.");
    EXPECT_EQ(rewritten("It is important to note that the vast majority of users are actually quite happy.",
                        shorter),
              "Most users are happy.");
    EXPECT_EQ(rewritten("In order to win, we need each and every vote. A kind of magic.", shorter),
              "To win, we need every vote. A kind of magic.");
    EXPECT_EQ(
        rewritten("I want to be honest, but we met at the end of the day, and he spoke clearly, in order "
                  "to help.",
                  shorter),
        "I want to be honest, but we met at the end of the day, and he spoke clearly, to help.");
    EXPECT_EQ(rewritten("The patch does not, in actual fact, change it, and most of us are going to Rome.",
                        shorter),
              "The patch does not change it, and most of us are going to Rome.");
}

TEST(Tokens, JoinedAreTheText)
{
    for (const std::string text :
         {"", "a", "\r\n", " \t x", "don’t “quote” me — please…", "`a` <b>c</b> `", "<", "a@b.c",
          "1.2.3 e.g. a.m.", "- \n-", "👩‍👩‍👧 é", "```\nx\n```\n\n", "\r", "it's 5'10\""}) {
        EXPECT_EQ(joined(tokenize(text)), text);
    }
}

TEST(Rules, ABrokenRuleIsFoundWhenItIsRead)
{
    EXPECT_THROW(RuleSet("no arrow"), std::logic_error);
    EXPECT_THROW(RuleSet("a => "), std::logic_error);
    EXPECT_THROW(RuleSet("a => $2"), std::logic_error);
    EXPECT_THROW(RuleSet("a => $1-nonsense"), std::logic_error);
    EXPECT_THROW(RuleSet("<nonsense> => b"), std::logic_error);
}

TEST(Rules, MatchWordsClassesAndTheirSurroundings)
{
    const RuleSet rules("^ a ~b => x\nc !d => y\ne $ => z\n<adj> f|g => $2 $1\nh , => -");
    const auto applied = [&](const std::string& text) {
        Tokens tokens = tokenize(text);
        markSentenceStarts(tokens);
        rules.apply(tokens);
        return joined(tokens);
    };
    EXPECT_EQ(applied("a b a b"), "x b a b");
    EXPECT_EQ(applied("A b"), "X b");
    EXPECT_EQ(applied("c d c e"), "c d y z");
    EXPECT_EQ(applied("e f. e, e"), "e f. z, z");
    EXPECT_EQ(applied("good g, GOOD g"), "g good, GOOD g");
    EXPECT_EQ(applied("h, we go"), "We go");
    EXPECT_EQ(applied("we do, h, go"), "we do go");
    EXPECT_EQ(applied("so, h, we go"), "so, we go");
    EXPECT_EQ(applied("we h, and go"), "we h, and go") << "only what is parenthetical is deleted";
}
