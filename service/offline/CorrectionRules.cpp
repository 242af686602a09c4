#include "offline/CorrectionRules.h"

#include <algorithm>

#include "offline/WordClasses.h"

namespace quillmarsh::service {

namespace {

using Kind = Token::Kind;

constexpr const char* contractions = R"(
dont => don't
doesnt => doesn't
didnt => didn't
isnt => isn't
arent => aren't
wasnt => wasn't
werent => weren't
hasnt => hasn't
havent => haven't
hadnt => hadn't
wouldnt => wouldn't
couldnt => couldn't
shouldnt => shouldn't
mustnt => mustn't
neednt => needn't
!a|the|his|her|their|my|your|of|this|thieves cant ~<base>|<adj>|you|we|i|he|she|they|it|even|really|just|always|find|seem|hardly|either|seriously => can't
<subj> cant => $1 can't
<subj> wont => $1 won't
!his|her|their|my|our|your|its|as wont ~<base>|be|even|really|just|always|seem|let|matter|happen => won't
this|that|it|there wont => $1 won't
im => I'm
ive => I've
youre => you're
youve => you've
youll => you'll
youd => you'd
theyre => they're
theyve => they've
theyll => they'll
theyd => they'd
weve => we've
hes => he's
^ shes => she's
!the|these|those|two|all shes ~<ing>|<adj>|not|a|the|an|in|at|on|very|so|been|my|our|always|never|really => she's
thats => that's
^ whats => what's
whats => what's
wheres => where's
heres => here's
theres => there's
whos ~<ing>|<adj>|coming|there|the|not|been|your => who's
itll => it'll
thatll => that'll
!my|your|his|her|the|an|user|no|this|our|their|customer|order|each id ~like|love|be|rather|prefer|appreciate|say|go|have|never|also|suggest|really|recommend|guess|hate => I'd
^ ill ~<base>|<pp>|be|also|just|probably|definitely|never|try|then|never => I'll
!am|is|are|was|were|be|been|being|feel|feels|felt|feeling|fell|fall|become|became|get|got|very|so|seriously|terminally|mentally|critically|too|i'm|he's|she's|we're|they're|you're|the|or|as|quite|really ill ~<base>|be|also|just|probably|never|definitely => I'll
^ lets ~<base>|go|not|just|try|all|be => let's
and|so|ok|okay|now|then|but|please lets ~<base>|go|not|just|try|be => $1 let's
^ were ~going|coming|having|trying|working|looking|planning|hoping|happy|excited|leaving|moving|thinking|getting|sorry|ready|late $! => we're
)";

constexpr const char* confusions = R"(
could|should|would|must|might of !course => $1 have
couldn't|shouldn't|wouldn't of !course => $1 have
may of been => may have been
your welcome $ => you're welcome
^ your welcome ~to => you're welcome
your ~the|an|gonna|not => you're
your a !b|level|plus|team|capella => you're a
your going ~to => you're going
your too|so|really|always <adj>|kind|late $ => you're $2 $3
^ your too|so|really|always <adj>|kind|late ~to|for|about|and|but|when => you're $2 $3
^ your right|wrong|kidding|joking|late|correct|invited|mistaken|crazy|amazing|awesome $ => you're $2
think|thinks|hope|hopes|know|because|sure|but|believe|said|says|guess|if|when|although|though|and|that your right|wrong|kidding|joking|late|correct|invited|mistaken|crazy|amazing|awesome $ => $1 you're $3
your right|wrong ~about => you're $2
think|thinks|hope|hopes|know|because|sure|but|believe|said|says|guess|if|when|although|though|and|that your ~going|coming|doing|having|feeling|ok|okay|sure|able|ready|not|here|there|aware|available|sorry|glad|mistaken => $1 you're
^ your ~gonna|able|sure|aware => you're
^ your doing ~great|well|a|the|fine|good => you're doing
^ your making ~me|a|the|it|us => you're making
you're own => your own
you're ~<thing> => your
!why|how|what|where its ~been|a|an|gonna|raining|snowing|obvious => it's
^ its ~the|not|so|too|my|your|his|our|always|probably|already|called|because|what => it's
^ its in|on|at ~the|a|my|your => it's $2
^ its just|only|like|about ~a|an|the|that|my|like|not|time|to => it's $2
^ its very|really|so|too|quite|pretty <adj>|late|cold|hot|hard => it's $2 $3
^ its <adj>|late|time|better|best|great|like|over|working|worth|likely|clear ~to|that|when|how|because|here|outside|today|now|for|if|in => it's $2
^ its <adj>|late|ok|okay|fine|over|working $ => it's $2
its going ~to => it's going
think|thinks|hope|hopes|know|because|sure|but|believe|said|says|guess|if|when|although|though|and|that its ~not|the|so|too|my|your|fine|ok|okay|gonna|probably|already => $1 it's
think|thinks|hope|hopes|know|because|sure|but|believe|said|says|guess|if|when|although|though|and|that its <adj>|late|time|better|best|over|working|worth ~to|that|when|how|because|here|outside|today|now|for|if => $1 it's $3
think|thinks|hope|hopes|know|because|sure|but|believe|said|says|guess|if|when|although|though|and|that its <adj>|late|time|over|working $ => $1 it's $3
think|thinks|hope|hopes|know|because|sure|but|believe|said|says|guess|if|when|although|though|and|that its very|really|quite|pretty <adj>|late|cold|hot|hard $ => $1 it's $3 $4
it's ~own => its
lost|on|in|of|for|with|at|by|wagged|ate|inside|all|changed|has|to|from it's ~<thing>|tail|name|way|size|color|colour|place|best|ability|price|features|members|users|customers|employees|purpose|content|contents|value|location|owner => $1 its
their ~is|are|was|were|isn't|aren't|wasn't|weren't|has|have|will|must|might|seems|may => there
their been => there been
there ~own => their
lost|forgot|sold|bought|left|brought|with|for|of|at|about|on|to|by|need|want|have|had|love|hate|take|took|use|clean|cleaned|wash|in there ~<thing> => $1 their
^ their ~going|coming|not|trying|doing|looking|having|leaving|very|so|really|always|all => they're
^ there ~going|coming|trying|making|doing => they're
think|thinks|hope|hopes|know|because|sure|but|believe|said|says|guess|if|when|although|though|and|that there going ~to => $1 they're going
think|thinks|hope|hopes|know|because|sure|but|believe|said|says|guess|if|when|although|though|and|that their ~going|coming|trying|leaving|doing|late|not => $1 they're
over|in|out|up|down|from|be|go|get their $ => $1 there
they're ~<thing>|own => their
^ they're is|are|was|were => there $2
rather|other|more|less|better|worse|sooner|<comp> then ~ever|me|you|him|her|us|them|the|a|an|that|this|these|those|my|your|his|our|their|usual|expected|before|any|anyone|anything|most|one|two|three|ten|ours|mine|yours|last|people|just => $1 than
rather then ~<word> => $1 than
would|i'd|he'd|she'd|we'd|they'd rather <base> then ~<base> => $1 rather $3 than
would|i'd|he'd|she'd|we'd|they'd rather <base> here|there|home|inside|it|this then ~<base> => $1 rather $3 $4 than
and|but|or|back than $ => $1 then
and than ~i|you|he|she|it|we|they|the|go|went => $1 then
is|are|was|were|be|been|it's|that's|he's|she's|they're|you're|way|far|am|i'm|we're to late|expensive|tired|busy|difficult|far|soon|small|big|loud|cold|heavy|young|short|tall|dark|dangerous => $1 too $3
is|was|be|been|it's|that's|way|far to much => $1 too much
way|far|that's|they're to many => $1 too many
ate|drank|spent|cost|costs to much|many => $1 too $3
want|wants|wanted|need|needs|needed|going|have|has|had|like|likes|try|tried|trying|able|plan|plans|forgot|hope|hopes|ready|happy|glad too ~<base>|be => $1 to
me to $ => me too
to|will|can|can't|could|might|don't|didn't|won't|would|you'll|i'll|we'll|should|never|i|you|we|they loose ~my|your|his|her|its|our|their|the|it|a|weight|money|time|control|patience|hope|interest|confidence|customers|everything|sleep|track|faith|focus|me|him|them|us => $1 lose
could|will|might|can|can't|never|don't|to|would loose $ => $1 lose
am|is|are|was|keep|keeps|i'm|you're|we're|they're|he's|she's|started|of|been loosing => $1 losing
an|the|any|little|big|huge|no|negative|positive|great|bad|good|strong affect ~on|of => $1 effect
will|can|could|may|might|does|doesn't|not|did|didn't|would|won't effect ~me|you|him|her|us|them|everyone|your|my|our|his|their|people => $1 affect
it|this|that effects ~me|you|him|her|us|them|everyone|your|my|our|people|the => $1 affects
some|any|your|my|his|her|their|our|good|bad|the|of|for|this advise $ => $1 advice
some|any|good|great|bad|much|her|your|my|the advise ~on|about|from|for => $1 advice
for|your|my|his|her|their|our|asked|need advise ~and|but|is|was => $1 advice
would|can|could|please|to|will|i|we|must|should advice ~you|me|us|him|her|them|against|that|your|people => $1 advise
^ hear is|are ~the|my|your|a|some|our => here $2
nice|good|great|happy|glad|hope|want|like|love|looking|forward|pleased|sorry to here => $1 to hear
can|could|can't|couldn't|didn't here ~you|me|him|her|them|the|anything => $1 hear
weather ~or => whether
know|sure|wonder|wondering|decide|ask|asked|tell|check|see weather ~i|you|he|she|it|we|they|the|this|that|to|or|my|your|our => $1 whether
walked|drove|ran|went|walk|run|drive|goes|go|walking|driving passed ~the|my|your|his|her|our|their|it|me|us|him|a => $1 past
half|quarter passed => $1 past
quiet a ~lot|few|bit|while|long|good|big|nice|number => quite a
be|is|was|stay|keep|very|so|too quite $ => $1 quiet
who's ~<thing> => whose
whose ~going|coming|been|there|the => who's
peace of ~cake|paper|advice|pie|news|information|pizza|wood|furniture|chocolate|bread => piece of
piece of mind => peace of mind
everyone|everybody|everything|nobody|anything|anyone|nothing accept ~for|me => $1 except
would|can|could|please|will|i|we|must|should|cannot|can't except ~your|the|my|our|this|his|her|their|it|that|an|a => $1 accept
^ i|we|they|he|she use to ~be|live|go|have|think|work|play|love|like|hate|know|smoke|own => $1 used to
am|is|are|was|were|i'm|you're|it's|he's|she's|we're|they're suppose to => $1 supposed to
am|is|are|was|were|i'm|you're|it's|he's|she's|we're|they're|get|got|getting|not use to ~the|it|this|that|my|your|his|being|working|having|living|<ing> => $1 used to
^ he|she|it don't => $1 doesn't
because|but|that|if|and|so|think|says|know|maybe he|she|it don't => $1 $2 doesn't
^ he|she|it haven't => $1 hasn't
^ he|she|it have ~a|an|the|been|to|two|three|no|some|my|<pp> => $1 has
^ he|she|it do ~not => $1 does
^ he|she go|want|need|like|love|live|work|say|think|know|play|make|take|seem|come|look ~to|a|an|the|in|at|that|it|my|his|her|very|for|like|there|with|on|not|from|me|you => $1 $2-s
^ they|we|you was => $1 were
because|when|if|that|think|thought|said they|we|you was => $1 $2 were
^ i is|are => I am
^ we|you|they is => $1 are
^ he|she|it are => $1 is
^ i has => I have
^ we|you|they has => $1 have
people|children was ~<ing> => $1 were
there is ~many|several => there are
there's ~many|several => there are
there was ~many|several => there were
<subj> didn't|don't|couldn't|wouldn't|can't|doesn't <past> => $1 $2 $3-base
^ did i|you|he|she|we|they <past> => did $2 $3-base
want|wanted|need|needed|going|have|had|like to went => $1 to go
i've|we've|they've|you've went => $1 gone
^ <subj> have|has|had went => $1 $2 gone
could|should|would|must|might|couldn't|shouldn't|wouldn't have went => $1 have gone
i've|we've|they've|you've did => $1 done
^ <subj> have|has|had did => $1 $2 done
could|should|would|must|might|couldn't|shouldn't|wouldn't have did => $1 have done
i've|we've|they've|you've saw => $1 seen
^ <subj> have|has|had saw => $1 $2 seen
could|should|would|must|might|couldn't|shouldn't|wouldn't have saw => $1 have seen
i've|we've|they've|you've ate => $1 eaten
^ <subj> have|has|had ate => $1 $2 eaten
could|should|would|must|might|couldn't|shouldn't|wouldn't have ate => $1 have eaten
i've|we've|they've|you've came => $1 come
^ <subj> have|has|had came => $1 $2 come
could|should|would|must|might|couldn't|shouldn't|wouldn't have came => $1 have come
i've|we've|they've|you've took => $1 taken
^ <subj> have|has|had took => $1 $2 taken
could|should|would|must|might|couldn't|shouldn't|wouldn't have took => $1 have taken
i've|we've|they've|you've wrote => $1 written
^ <subj> have|has|had wrote => $1 $2 written
could|should|would|must|might|couldn't|shouldn't|wouldn't have wrote => $1 have written
i've|we've|they've|you've gave => $1 given
^ <subj> have|has|had gave => $1 $2 given
could|should|would|must|might|couldn't|shouldn't|wouldn't have gave => $1 have given
i've|we've|they've|you've began => $1 begun
^ <subj> have|has|had began => $1 $2 begun
could|should|would|must|might|couldn't|shouldn't|wouldn't have began => $1 have begun
i've|we've|they've|you've spoke => $1 spoken
^ <subj> have|has|had spoke => $1 $2 spoken
could|should|would|must|might|couldn't|shouldn't|wouldn't have spoke => $1 have spoken
i've|we've|they've|you've chose => $1 chosen
^ <subj> have|has|had chose => $1 $2 chosen
could|should|would|must|might|couldn't|shouldn't|wouldn't have chose => $1 have chosen
i've|we've|they've|you've drove => $1 driven
^ <subj> have|has|had drove => $1 $2 driven
could|should|would|must|might|couldn't|shouldn't|wouldn't have drove => $1 have driven
i've|we've|they've|you've knew => $1 known
^ <subj> have|has|had knew => $1 $2 known
could|should|would|must|might|couldn't|shouldn't|wouldn't have knew => $1 have known
i've|we've|they've|you've drank => $1 drunk
^ <subj> have|has|had drank => $1 $2 drunk
could|should|would|must|might|couldn't|shouldn't|wouldn't have drank => $1 have drunk
i|we|they|he|she|you seen ~the|it|him|her|you|them|a|that|this|your|my => $1 saw
i|we|they|he|she|you done ~it|that|this|the|my|a => $1 did
more better|worse|easier|faster|cheaper|bigger|smaller|older|younger|nicer|happier|taller|stronger|harder => $2
most best|easiest|fastest|biggest|cheapest|nicest => $2
between you and i => between you and me
for all intensive purposes => for all intents and purposes
irregardless => regardless
one of the reason|thing|problem|person|student|member ~is|was|that|who|i|we|you|why => one of the $4-plural
looking forward to see|hear|meet|work|speak|talk|visit|join|read|learn ~you|from|with|to|the|your|about|more|us => looking forward to $4-ing
look forward to see|hear|meet|work|speak|talk|visit|join|read|learn ~you|from|with|to|the|your|about|more|us => look forward to $4-ing
two|three|four|five|six|seven|eight|nine|ten|several|many|few|these|those day|week|month|year|hour|minute|time|thing|person|problem|question|student|book|car|house ~ago|later|and|of|to|in|at|on|with|for|we|i|you => $1 $2-plural
two|three|four|five|six|seven|eight|nine|ten|several|many|few|these|those day|week|month|year|hour|minute|time|thing|problem|question|student|book $ => $1 $2-plural
)";

/// A statement that stands on its own before another begins: "thanks for your help", "see you tomorrow".
bool beginsClause(const std::string& lower)
{
    static const std::vector<std::string> starts{"i'll",  "i'm",   "i've",   "i'd", "we'll", "we're",
                                                 "we've", "let's", "please", "see", "talk"};
    return std::find(starts.begin(), starts.end(), lower) != starts.end();
}

bool isOneOf(const std::string& word, std::initializer_list<std::string_view> words)
{
    return std::find(words.begin(), words.end(), word) != words.end();
}

/// The last word of "thanks for your help", when `first` begins that; noToken otherwise.
size_t formulaEnd(const Tokens& tokens, size_t first)
{
    size_t at = first;
    if (tokens[at].lower == "thank") {
        at = nextWord(tokens, at);
        if (at == noToken || tokens[at].lower != "you") {
            return noToken;
        }
    } else if (!isOneOf(tokens[at].lower, {"thanks", "sorry"})) {
        return noToken;
    }
    for (const auto& step : {std::initializer_list<std::string_view>{"for", "about"},
                             std::initializer_list<std::string_view>{"your", "my", "our", "all"}}) {
        at = nextWord(tokens, at);
        if (at == noToken || !isOneOf(tokens[at].lower, step)) {
            return noToken;
        }
    }
    at = nextWord(tokens, at);
    if (at != noToken &&
        isOneOf(tokens[at].lower, {"your", "quick", "late", "great", "kind", "the", "patience"})) {
        const size_t next = nextWord(tokens, at);
        at = next == noToken || beginsClause(tokens[next].lower) ? at : next;
    }
    return at;
}

} // namespace

void splitFormulas(Tokens& tokens)
{
    for (size_t i = 0; i < tokens.size(); ++i) {
        if (!tokens[i].startsSentence || !tokens[i].is(Kind::Word)) {
            continue;
        }
        const size_t end = formulaEnd(tokens, i);
        const size_t next = end == noToken ? noToken : nextWord(tokens, end);
        if (next != noToken && beginsClause(tokens[next].lower)) {
            tokens[next].startsSentence = true;
            tokens.insert(tokens.begin() + static_cast<std::ptrdiff_t>(end) + 1, {Kind::Punctuation, "."});
        }
    }
}

const RuleSet& contractionRules()
{
    static const RuleSet rules(contractions);
    return rules;
}

const RuleSet& confusionRules()
{
    static const RuleSet rules(confusions);
    return rules;
}

} // namespace quillmarsh::service
