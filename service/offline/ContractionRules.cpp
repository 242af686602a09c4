#include "offline/RuleTexts.h"

namespace quillmarsh::service {

const char* const RuleTexts::contractions = R"(
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
theres|there's alot of <plural>|people|children => there are a lot of $4
theres a lot of <plural>|people|children => there are a lot of $5
theres ~many|several|two|three|four|five|six|seven|eight|nine|ten => there are
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

} // namespace quillmarsh::service
