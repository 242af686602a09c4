// What the offline engine mends and leaves, rule by rule: each sentence stands for a kind of error, or for
// what only looks like one.
#include <gtest/gtest.h>

#include "offline/OfflineEngine.h"

using namespace quillmarsh::service;

namespace {

std::string rewritten(const std::string& text)
{
    static OfflineEngine engine("/usr/share/hunspell/en_US");
    const EngineAnswer answer = engine.rewrite({text, std::nullopt}, {});
    return answer.verdict == EngineAnswer::Verdict::Done ? answer.text : "refused: " + answer.code;
}

} // namespace

TEST(OfflineCorrections, LeavesShortForeignSentencesAlone)
{
    for (const char* text : {"On se voit demain devant la gare ?", "Le train est en retard, je suis désolé.",
                             "Ich bin gleich da, bis später!", "Nos vemos mañana en el parque, ¿vale?",
                             "Ci vediamo domani alle otto !", "Tot morgen in de stad !", "Tu viens ce soir ?",
                             "Não posso ir hoje, desculpa."}) {
        EXPECT_EQ(rewritten(text), "refused: language_not_supported") << text;
    }
    EXPECT_EQ(rewritten("Merci beaucoup !"), "Merci beaucoup !");
    EXPECT_EQ(rewritten("She said hello. On se voit demain devant la gare ? Then she left teh room."),
              "She said hello. On se voit demain devant la gare ? Then she left the room.");
    EXPECT_EQ(rewritten("He ordered teh café au lait en route to Lyon."),
              "He ordered the café au lait en route to Lyon.");
}

TEST(OfflineCorrections, PutsTheMissingBlankBehindAMark)
{
    EXPECT_EQ(rewritten("It came yesturday,thanks."), "It came yesterday, thanks.");
    EXPECT_EQ(rewritten("See you on monday.thanks for the help."), "See you on Monday. Thanks for the help.");
    for (const char* text :
         {"See config.yaml and index.html for that.", "Open example.com, then node.js docs.",
          "Call event.please in the handler.", "It costs 1,000.50 in the U.S.A. only."}) {
        EXPECT_EQ(rewritten(text), text);
    }
}

TEST(OfflineCorrections, AChatLineWithoutMistakesStaysAsItIsMeant)
{
    EXPECT_EQ(rewritten("ok, see you at 8"), "ok, see you at 8");
    EXPECT_EQ(rewritten("ok, see you tomorow"), "Ok, see you tomorrow.");
    EXPECT_EQ(rewritten("ok, i will see"), "Ok, I will see.");
}

// Each is near to something that a rule takes for an error.
TEST(OfflineCorrections, LeavesWhatOnlyLooksLikeAnError)
{
    for (const char* text : {"You're friends, right?",
                             "You're family to us.",
                             "What I do she likes.",
                             "If you do it has consequences.",
                             "Its not inconsiderable size surprised us.",
                             "We have broke students to support.",
                             "They have woke policies.",
                             "All that I have came from my father.",
                             "There's a lot of noise here.",
                             "They range from cheap to expensive.",
                             "I went there too the other day.",
                             "Does everyone have a seat?",
                             "Could the meeting have been moved?",
                             "The team have agreed on a date.",
                             "The boat was planing over the waves.",
                             "He was planing to a depth of two millimetres.",
                             "He was siting new wells across the county.",
                             "For he's a jolly good fellow.",
                             "I would like everyone except your boss to come.",
                             "It's less than people think.",
                             "There was less pressure this time.",
                             "Me and my big mouth.",
                             "The will can be contested.",
                             "One of the people who has helped me is Ann.",
                             "The phone and the laptop are new.",
                             "The car doors are open.",
                             "He is past the age of forty.",
                             "He showed me how this works."}) {
        EXPECT_EQ(rewritten(text), text);
    }
}

TEST(OfflineCorrections, MendsWhatIsSureAnywhereInASentence)
{
    EXPECT_EQ(rewritten("He says hello, its not a secret."), "He says hello, it's not a secret.");
    EXPECT_EQ(rewritten("The invoice have been paid."), "The invoice has been paid.");
    EXPECT_EQ(rewritten("Everybody have a ticket."), "Everybody has a ticket.");
    EXPECT_EQ(rewritten("Sadly I have forgot it."), "Sadly I have forgotten it.");
    EXPECT_EQ(rewritten("I never been there."), "I have never been there.");
    EXPECT_EQ(rewritten("They past all the tests on he's last day."),
              "They passed all the tests on his last day.");
    EXPECT_EQ(rewritten("We go too the park, its not far enough."),
              "We go to the park, it's not far enough.");
    EXPECT_EQ(rewritten("It has rised, and it rised again."), "It has risen, and it rose again.");
    EXPECT_EQ(rewritten("He will can come."), "He will be able to come.");
    EXPECT_EQ(rewritten("Me and her was tired."), "She and I were tired.");
    EXPECT_EQ(rewritten("Theres two dogs in the gardin."), "There are two dogs in the garden.");
}
