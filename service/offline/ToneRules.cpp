#include "offline/ToneRules.h"

#include <algorithm>

namespace quillmarsh::service {

namespace {

using Kind = Token::Kind;

constexpr const char* formal = R"(
let's => let us
can't => cannot
won't => will not
shan't => shall not
ain't => is not
^ don't you|i|we|they ~<base> => do $2 not
^ isn't it|he|she|this|that => is $2 not
^ aren't you|we|they => are $2 not
^ can't you|we|i => can $2 not
^ didn't you|we|they|he|she => did $2 not
don't => do not
doesn't => does not
didn't => did not
isn't => is not
aren't => are not
wasn't => was not
weren't => were not
hasn't => has not
haven't => have not
hadn't => had not
wouldn't => would not
couldn't => could not
shouldn't => should not
mustn't => must not
needn't => need not
i'm => I am
you're => you are
we're => we are
they're => they are
i've => I have
you've => you have
we've => we have
they've => they have
i'll => I will
you'll => you will
he'll => he will
she'll => she will
it'll => it will
we'll => we will
they'll => they will
that'll => that will
there'll => there will
it's|he's|she's|that's|there's been|got|gone|become|taken|had|done|made|seen|come => $1-stem has $2
it's|he's|she's|that's|there's|here's|what's|where's|who's|how's => $1-stem is
i'd|you'd|he'd|she'd|we'd|they'd ~like|love|be|prefer|appreciate|rather|say|go|have|recommend|suggest|need|want|do|make|take|expect => $1-stem would
i'd|you'd|he'd|she'd|we'd|they'd ~better|been|<pp> => $1-stem had
gonna => going to
wanna => want to
i've|you've|we've gotta => $1-stem have to
gotta => have to
gimme => give me
lemme => let me
dunno => do not know
kinda|sorta ~<adj> => somewhat
cuz|coz|cos|'cause => because
yeah|yep|yup|yea => yes
nope|nah => no
thx|thanx|ty $ => thank you
thanks a lot|bunch|million => thank you very much
thanks so much => thank you very much
thanks again => thank you again
^ thanks => thank you
thanks $ => thank you
thanks for => thank you for
hey|hi guys|all|everyone|folks|team => hello everyone
hey|hi there => hello
^ hey|hi => hello
guys ~are|were|have|can|could|should|think|want|need => all
asap => as soon as possible
btw => by the way
fyi => for your information
imo|imho => in my opinion
pls|plz => please
u ~are|can|could|have|need|want|will|should|know => you
are|can|could|do|did|will|would|see|thank|if|when|tell|give|send u => $1 you
ur ~<thing>|help|time|message|reply|work => your
a bunch|ton|load of => a number of
lots|tons|loads of => a great deal of
stuff => things
kids => children
super|pretty|totally|so <adj> $ => very $2
awesome|cool|great job|idea|work => excellent $2
that's|is|sounds|was awesome|cool $ => $1 excellent
^ let me know ~if|when|what|whether|how|where => please let me know
i've|we've|you've|they've got ~a|an|the|no|to|some|two|three|lots|your|my => $1-stem have
!i just wanted|want to let you know => I would like to let you know
^ sorry for|about => I apologize for
^ sorry i => I apologize that I
i'm|i am sorry about|for => I apologize for
^ can you => could you
get back to => reply to
find out => determine
figure out => determine
sort out => resolve
set up a => arrange a
put off => postpone
ask for => request
tell me ~if|whether|about|when|what|how => inform me
a lot better|more|less|worse|easier => much $3
cheers $ => kind regards
)";

constexpr const char* casual = R"(
i|you|he|she|it|we|they will not => $1 won't
you|we|they are not => $1 aren't
he|she|it|that|there is not => $1 isn't
^ i am writing to ~ask|tell|let|say|inform|confirm|check => I'm writing to
i am ~<word> => I'm
you|we|they are ~<word> => $1're
he|she|it|that|there|here is ~<word> => $1's
i|you|we|they have ~<pp>|been => $1've
i|you|he|she|it|we|they will ~<word> => $1'll
i|you|we|they would ~like|love|be|prefer|appreciate|rather => $1'd
!do do not ~<word> => don't
does not => doesn't
did not => didn't
is not => isn't
are not => aren't
was not => wasn't
were not => weren't
has not => hasn't
have not => haven't
had not => hadn't
would not => wouldn't
could not => couldn't
should not => shouldn't
will not => won't
cannot => can't
can not => can't
^ let us ~<base> !know|have => let's
^ thank you very|so much => thanks so much
^ thank you => thanks
thank you $ => thanks
^ dear ~<name> => hi
^ good morning|afternoon|evening => hi
please do not hesitate to contact|ask|call => feel free to $6
please don't hesitate to contact|ask|call => feel free to $5
at your earliest convenience => when you get a chance
as soon as possible => as soon as you can
in order to => to
prior to => before
subsequent to => after
with regard|regards|respect to => about
in regard|regards to => about
regarding ~the|your|our|my|this|that => about
in addition , => also,
furthermore|moreover|additionally , => also,
^ therefore|consequently|thus , => so
^ however , => but
^ nevertheless|nonetheless , => still,
to|will|i'll|we'll|you'll|they'll|he'll|she'll|can|could|must|should|please|may|not utilize|utilise => $1 use
to|will|i'll|we'll|you'll|they'll|he'll|she'll|can|could|must|should|please|may|not|i|we|you purchase ~a|an|the|some|this|that|it|one|two|more|your|our => $1 buy
purchased => bought
to|will|i'll|we'll|you'll|they'll|he'll|she'll|can|could|must|should|please|may|i|we|you assist ~you|me|us|him|her|them|with|in => $1 help
for|your|our|my|any|further assistance => $1 help
to|will|i'll|we'll|you'll|they'll|he'll|she'll|can|could|must|should|shall|may commence => $1 start
commenced => started
to|will|i'll|we'll|you'll|they'll|he'll|she'll|can|could|must|should|may obtain => $1 get
obtained => got
i|we|you|they|will require => $1 need
it requires => it needs
sufficient => enough
additional ~information|details|questions|time|help|people => more
to|will|i'll|we'll|you'll|they'll|he'll|she'll|can|could|must|should|please|may inform ~you|me|us|him|her|them => $1 tell
to|will|i'll|we'll|you'll|they'll|he'll|she'll|can|could|must|should|please|may inquire => $1 ask
i|we apologize for => sorry about
^ i|we apologize for => sorry about
children => kids
extremely|very|highly ~<adj> => really
individuals => people
approximately => about
currently => right now
kind|best|warm regards => cheers
sincerely $ => cheers
yours sincerely|faithfully => cheers
)";

constexpr const char* wordy = R"(
in order to => to
so as to => to
due to the fact that => because
owing to the fact that => because
because of the fact that => because
on account of the fact that => because
in light of the fact that => because
despite the fact that => although
in spite of the fact that => although
given the fact that => since
has the ability|capacity to => can
is|are able to => can
was|were able to => could
the fact of the matter is that => -
the fact of the matter is , => -
at this point in time => now
at the present time|moment => now
at this moment in time => now
at that point in time => then
in the near future => soon
in the event that => if
in the case that => if
on the condition that => if
until such time as => until
during the course of => during
in the process of ~<ing> => -
for the purpose of ~<ing> => for
with regard|respect|reference to => about
with regards to => about
in regard|regards|relation to => about
in terms of ~the|our|your|my|price|cost|quality => regarding
concerning the matter of => about
on the subject|topic of => about
a large|huge|great number of => many
a small number of => a few
a majority of => most
the vast majority of => most
the majority of => most
a wide variety|range of => many
each and every one => each one
each and every => every
any and all => all
first and foremost => first
one and only => only
make|makes a decision => decide
made a decision to => decided to
make a decision about => decide on
come|came to the conclusion that => conclude that
take into consideration => consider
give consideration to => consider
i am of the opinion that => I think
it is my opinion|belief that => I think
in my personal opinion , => I think
in my humble|personal|honest opinion , => -
in my opinion , => -
it is important|worth|interesting to note|mention|remember|noting that => -
it is worth noting|mentioning that => -
it should be noted that => -
it goes without saying that => -
please note that => -
please be advised|aware that => -
i just wanted|want to let you know that => -
i just wanted|want to let you know => -
i wanted|want to let you know that => -
i just wanted|want to say that => -
i would like to let you know that => -
i'm writing to let you know that => -
i am writing to let you know that => -
i just wanted|want to ~ask|check|thank|say|confirm|remind|see|follow|make => I wanted to
i would just like to ~say|ask|thank => I'd like to
needless to say , => -
as a matter of fact , => -
in actual fact , => -
as you already know|may , => -
as you may already know , => -
at the end of the day , => -
when all is said and done , => -
for all intents and purposes , => -
to be honest|frank , => -
to be perfectly|completely|totally honest|frank , => -
all things considered , => -
as far as i'm|i am concerned , => -
as previously mentioned , => -
last but not least , => finally,
generally speaking , => generally,
basically|essentially|actually|literally|honestly|frankly|obviously|clearly , => -
!not|isn't|wasn't|aren't|don't|doesn't basically|literally|honestly|actually ~<word> => -
you know what , => -
!do|don't|if|when|as|that|did|would|let|how|what|and i mean , => -
!do|don't|if|when|as|that|did|would|let|how|what|must|might you know , => -
kind|sort of ~<adj> => -
!a|the|this|that|what|any|some|every|no|one|another|same|all is|was|am|are|i'm|it's|feel|feels|felt|seems|looks kind|sort of => $1
!not|so|too|as|but|much very|really|quite|extremely|incredibly|truly ~<adj> => -
that's|is|was|are|were|am|i'm|it's very|really|quite|extremely|incredibly|truly|absolutely|totally <adj> => $1 $3
!not|no|only|or|is|was|it's|that's|are|but|have|has|had|i've|who|just|be|being just ~want|wanted|think|thought|need|needed|wonder|wondered|wondering|hope|hoped|feel|felt|wish|check|ask => -
completely|totally|absolutely|utterly finished|eliminated|destroyed|essential|full|empty|unique|necessary|free => $2
advance planning|warning|notice => $2
past history|experience|experiences => $2
future plans|prospects => $2
end|final result|outcome|results => $2
unexpected surprise => surprise
free gift|gifts => $2
new innovation|innovations => $2
close proximity => proximity
basic|essential fundamentals|essentials => $2
added bonus => bonus
personal opinion => opinion
repeat|repeated again => $1
return|returned|returning back => $1
combine|combined|merge|merged together => $1
revert back => revert
join|joined together => $1
still remains => remains
may|might possibly => $1
could|can possibly be => $1 be
the reason why is that => because
the reason why => why
the reason is because => because
there are many|some|several people who => $3 people
there is no doubt that => undoubtedly
without a doubt , => -
in a timely manner => promptly
on a daily basis => daily
on a weekly basis => weekly
on a monthly basis => monthly
on a regular basis => regularly
in close collaboration with => with
in connection with => about
in excess of => over
in the vicinity of => near
whether or not ~i|you|he|she|it|we|they|the|to => whether
is going to => will
are|am going to ~<base> => will
i am going to => I'll
we are going to => we'll
i would like to => I'd like to
i think that => I think
)";

/// In an official letter nobody shouts or smiles.
void calmDown(Tokens& tokens)
{
    Tokens out;
    for (size_t i = 0; i < tokens.size(); ++i) {
        Token& token = tokens[i];
        const bool smile = token.is(Kind::Opaque) &&
                           (token.text.starts_with(':') || token.text.starts_with(';')) &&
                           token.text.size() < 4;
        if (smile) {
            if (!out.empty() && out.back().is(Kind::Blank)) {
                out.pop_back();
            }
            continue;
        }
        if (token.is(Kind::Punctuation) && token.text.find_first_not_of('!') == std::string::npos) {
            token.text = ".";
        } else if (token.is(Kind::Punctuation) && token.text.find_first_not_of('?') == std::string::npos) {
            token.text = "?";
        }
        out.push_back(std::move(token));
    }
    tokens = std::move(out);
}

const RuleSet& formalRules()
{
    static const RuleSet rules(formal);
    return rules;
}

const RuleSet& casualRules()
{
    static const RuleSet rules(casual);
    return rules;
}

const RuleSet& wordyRules()
{
    static const RuleSet rules(wordy);
    return rules;
}

} // namespace

void checkToneRules()
{
    (void)formalRules();
    (void)casualRules();
    (void)wordyRules();
}

void makeFormal(Tokens& tokens)
{
    calmDown(tokens);
    formalRules().apply(tokens);
    formalRules().apply(tokens); // "gonna" may stand behind what became "I have"
}

void makeCasual(Tokens& tokens)
{
    casualRules().apply(tokens);
    casualRules().apply(tokens);
}

size_t makeShorter(Tokens& tokens)
{
    const size_t first = wordyRules().apply(tokens);
    return first + wordyRules().apply(tokens);
}

} // namespace quillmarsh::service
