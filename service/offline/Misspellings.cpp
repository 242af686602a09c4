#include "offline/Misspellings.h"

#include <unordered_map>

#include "base/Text.h"

namespace quillmarsh::service {

namespace {

/// wrong:right, "_" for a blank. Only words that are wrong whatever stands around them.
constexpr const char* table =
    "abit:a_bit abotu:about absolutly:absolutely abuot:about accidently:accidentally accomodate:accommodate "
    "accomodation:accommodation accross:across acheive:achieve acheived:achieved acknowlege:acknowledge "
    "acn:can acommodation:accommodation actualy:actually adivce:advice adn:and adress:address "
    "adresses:addresses advices:advice agian:again agin:again agressive:aggressive ahve:have "
    "alittle:a_little allmost:almost allready:already allthough:although allways:always almsot:almost "
    "alos:also alot:a_lot altough:although alwasy:always alwyas:always amatuer:amateur andthe:and_the "
    "annd:and anual:annual anyting:anything aobut:about apparant:apparent apparantly:apparently "
    "appologies:apologies appologize:apologize appreciat:appreciate appriciate:appreciate "
    "appriciated:appreciated approch:approach apreciate:appreciate apreciated:appreciated aproach:approach "
    "aproximately:approximately aquaintance:acquaintance aquire:acquire aquired:acquired arguement:argument "
    "arond:around arround:around artical:article asistance:assistance askd:asked aslo:also "
    "assistence:assistance aswell:as_well athiest:atheist atleast:at_least attachement:attachment "
    "attatch:attach attatched:attached attatchment:attachment attendence:attendance auxillary:auxiliary "
    "availabe:available availble:available availible:available avaliable:available awfull:awful baout:about "
    "basicaly:basically basicly:basically beacuse:because beatiful:beautiful beause:because "
    "beautful:beautiful beautifull:beautiful becasue:because becaus:because becouse:because becuase:because "
    "beggining:beginning begining:beginning beleive:believe beleived:believed belive:believe "
    "beutiful:beautiful bithday:birthday bizzare:bizarre boyant:buoyant breakfest:breakfast "
    "brekfast:breakfast brithday:birthday buisiness:business buisness:business busness:business "
    "bussiness:business ca'nt:can't calender:calendar calld:called carefull:careful catagory:category "
    "categorie:category caugt:caught cemetary:cemetery changable:changeable charachter:character "
    "charecter:character childs:children choosen:chosen cna:can colleage:colleague collegaue:colleague "
    "collegue:colleague collegues:colleagues comfirm:confirm comfortible:comfortable comittee:committee "
    "comming:coming commited:committed commitee:committee comparision:comparison competance:competence "
    "complet:complete completley:completely completly:completely concensus:consensus concieve:conceive "
    "concious:conscious condidtion:condition confortable:comfortable congradulations:congratulations "
    "congratualtions:congratulations consistant:consistent contarct:contract controll:control "
    "contruction:construction convienent:convenient convienience:convenience convinient:convenient "
    "cooporate:cooperate coudl:could could'nt:couldn't couldnot:could_not coz:because critisism:criticism "
    "cuold:could curiousity:curiosity cusotmer:customer custmer:customer custumer:customer cuz:because "
    "deadine:deadline dealine:deadline deciet:deceit decison:decision decission:decision "
    "defiantely:definitely definate:definite definately:definitely definatly:definitely definetly:definitely "
    "definitly:definitely delievery:delivery delivary:delivery desicion:decision deside:decide "
    "desided:decided develope:develop developement:development devlopment:development dictionery:dictionary "
    "did'nt:didn't didnot:did_not diferent:different differant:different difficulity:difficulty "
    "diffrent:different dificult:difficult dilema:dilemma disapoint:disappoint disapointed:disappointed "
    "discription:description dissapear:disappear dissapeared:disappeared dissapoint:disappoint "
    "dissapointed:disappointed disscuss:discuss dno't:don't do'nt:don't docter:doctor documnet:document "
    "does'nt:doesn't doesen't:doesn't doesnot:does_not don;t:don't donot:do_not dose'nt:doesn't "
    "dosent:doesn't doucment:document eachother:each_other eigth:eight embarass:embarrass "
    "embarassed:embarrassed embarassing:embarrassing embarrased:embarrassed emberrass:embarrass emial:email "
    "enogh:enough enought:enough enuf:enough enviroment:environment enviromental:environmental "
    "equiped:equipped equipments:equipment equiptment:equipment especialy:especially everthing:everything "
    "everytime:every_time everyting:everything evryone:everyone evrything:everything exagerate:exaggerate "
    "excede:exceed excelent:excellent excercise:exercise exellent:excellent exept:except exersise:exercise "
    "exhilerate:exhilarate existance:existence expecially:especially experiance:experience "
    "experiances:experiences explaination:explanation extreamly:extremely extremly:extremely "
    "facinating:fascinating familar:familiar favorit:favorite favourit:favourite febuary:february "
    "feburary:february feedbak:feedback feild:field finaly:finally finsh:finish finshed:finished "
    "firday:friday firey:fiery fisrt:first flourescent:fluorescent foriegn:foreign forthe:for_the "
    "fourty:forty foward:forward freind:friend freinds:friends freqently:frequently frequentley:frequently "
    "frist:first fullfill:fulfill furhter:further furnitures:furniture futher:further garantee:guarantee "
    "gaurantee:guarantee gaurd:guard geting:getting giong:going goign:going gonig:going goverment:government "
    "gramar:grammar grammer:grammar gratefull:grateful grately:greatly greatful:grateful guarentee:guarantee "
    "haev:have halp:help hapening:happening happend:happened happenned:happened harrass:harass hav:have "
    "have'nt:haven't headquater:headquarters heigth:height helpfull:helpful helpped:helped hepl:help "
    "heros:heroes hieght:height hlep:help hllo:hello homeworks:homework hopefuly:hopefully hopeing:hoping "
    "hosptial:hospital hte:the hunderd:hundred hungery:hungry hurrry:hurry hvae:have hwo:how hygene:hygiene "
    "idae:idea imediately:immediately immediatley:immediately immediatly:immediately immitate:imitate "
    "imporant:important importent:important importnat:important improvment:improvement incase:in_case "
    "inconvience:inconvenience inconvinience:inconvenience independant:independent "
    "independantly:independently indispensible:indispensable infact:in_fact infomation:information "
    "informaiton:information informations:information infromation:information inspite:in_spite "
    "insted:instead intead:instead inteligent:intelligent intellegent:intelligent interst:interest "
    "interupt:interrupt inthe:in_the intrest:interest intrested:interested intresting:interesting "
    "is'nt:isn't isnt:isn't jewelery:jewelry jsut:just juts:just kindergarden:kindergarten "
    "knowledgable:knowledgeable knowlege:knowledge knwo:know knwon:known konw:know langauge:language "
    "lauguage:language leasure:leisure lenght:length liason:liaison libary:library lieing:lying liek:like "
    "lisence:license lonly:lonely lookd:looked loosers:losers lsat:last luggages:luggage "
    "maintainance:maintenance maintenence:maintenance maintian:maintain managment:management "
    "medecine:medicine medicin:medicine meetng:meeting meetting:meeting mesage:message messege:message "
    "messsage:message millenium:millennium miniture:miniature mintues:minutes minuts:minutes "
    "mischievious:mischievous mispell:misspell mispelled:misspelled mispelling:misspelling misteak:mistake "
    "moer:more mornign:morning mountian:mountain mroe:more msot:most mustve:must've nad:and "
    "naturaly:naturally neccesary:necessary neccessarily:necessarily neccessary:necessary necesary:necessary "
    "neice:niece neighborhod:neighborhood nessesary:necessary nieghbor:neighbor nineth:ninth ninty:ninety "
    "noone:no_one nothign:nothing noticable:noticeable nto:not nuisence:nuisance obediance:obedience "
    "ocasionally:occasionally ocassion:occasion occassion:occasion occassionally:occasionally "
    "occurance:occurrence occured:occurred occurence:occurrence occuring:occurring oclock:o'clock "
    "ofcourse:of_course offical:official ofice:office ofthe:of_the ohter:other olny:only onthe:on_the "
    "onyl:only opinon:opinion oportunity:opportunity oppertunity:opportunity oppinion:opinion "
    "oppurtunity:opportunity orginal:original origional:original orignal:original otehr:other othe:other "
    "outragous:outrageous oyu:you paralell:parallel parliment:parliament partener:partner "
    "particularily:particularly particulary:particularly pasttime:pastime payed:paid peculier:peculiar "
    "peice:piece peices:pieces pelase:please peopel:people peple:people pepole:people percieve:perceive "
    "perfom:perform performence:performance permanant:permanent permision:permission "
    "perseverence:perseverance persistant:persistent phsyical:physical picutre:picture plaese:please "
    "playwrite:playwright pleae:please plesant:pleasant plese:please poeple:people politican:politician "
    "porblem:problem posess:possess posession:possession posible:possible possable:possible potatos:potatoes "
    "practicaly:practically preceed:precede prefered:preferred prefering:preferring preperation:preparation "
    "presance:presence presantation:presentation presentaion:presentation presention:presentation "
    "previus:previous principly:principally privelege:privilege priviledge:privilege probabaly:probably "
    "probaly:probably probelm:problem problme:problem probly:probably proccess:process procede:proceed "
    "proces:process profesional:professional profesionally:professionally profesor:professor "
    "professionel:professional proffesional:professional progam:program projcet:project prolly:probably "
    "promiss:promise pronounciation:pronunciation propably:probably proposel:proposal proyect:project "
    "publically:publicly purpoe:purpose puting:putting quater:quarter questionaire:questionnaire "
    "quickley:quickly quikly:quickly realtionship:relationship realy:really reasearch:research "
    "reccomend:recommend reccomended:recommended reccommend:recommend reciept:receipt reciepts:receipts "
    "recieve:receive recieved:received recieveing:receiving recieving:receiving recipie:recipe "
    "recive:receive recived:received recomend:recommend recomendation:recommendation recomended:recommended "
    "rediculous:ridiculous referance:reference refered:referred refering:referring refrence:reference "
    "regester:register registartion:registration rehersal:rehearsal relevence:relevance relevent:relevant "
    "religous:religious relize:realize relized:realized rember:remember remeber:remember "
    "remebered:remembered repitition:repetition reqeust:request requst:request resistence:resistance "
    "responce:response responsability:responsibility responsable:responsible restarant:restaurant "
    "restaraunt:restaurant restuarant:restaurant resturant:restaurant ridiculus:ridiculous rythm:rhythm "
    "saftey:safety salery:salary saterday:saturday satisfyed:satisfied satuday:saturday scedule:schedule "
    "schedual:schedule scisors:scissors scool:school secratary:secretary secretery:secretary "
    "sentance:sentence sentances:sentences seperate:separate seperated:separated seperately:separately "
    "severel:several sevral:several shcool:school shedule:schedule sheild:shield shoping:shopping "
    "shoud:should shoudl:should should'nt:shouldn't shuold:should sicne:since sieze:seize similer:similar "
    "similiar:similar sincerly:sincerely sinse:since situaton:situation sitution:situation smae:same "
    "smoe:some soem:some soemthing:something softwares:software somethign:something somthing:something "
    "somting:something soory:sorry sory:sorry souvenier:souvenir speach:speech specialy:specially "
    "specificaly:specifically srry:sorry stoped:stopped stoping:stopping strenght:strength stuborn:stubborn "
    "studing:studying studyed:studied stuent:student substract:subtract subtley:subtly succed:succeed "
    "succes:success succesful:successful succesfully:successfully succesfuly:successfully "
    "successfull:successful suceed:succeed sucess:success sucessful:successful sugest:suggest "
    "sugested:suggested sugestion:suggestion suggesstion:suggestion suggestons:suggestions sumary:summary "
    "suport:support supose:suppose suposed:supposed supposably:supposedly suprise:surprise "
    "suprised:surprised surelly:surely surounding:surrounding surprize:surprise swiming:swimming tahn:than "
    "taht:that talkign:talking techer:teacher technicaly:technically teh:the tempature:temperature "
    "temperatur:temperature temperture:temperature tendancy:tendency teusday:tuesday thankfull:thankful "
    "thankx:thanks thankyou:thank_you thansk:thanks thanx:thanks themself:themselves themselfs:themselves "
    "therfore:therefore theri:their thier:their thign:thing thigns:things thikn:think thna:than "
    "thnaks:thanks thne:then thnk:think thougt:thought threshhold:threshold thrusday:thursday thsi:this "
    "tht:that thta:that thurday:thursday thw:the tiem:time tihs:this tmr:tomorrow tmrw:tomorrow "
    "tobbaco:tobacco todays:today's togather:together togehter:together toghether:together tomatos:tomatoes "
    "tommorow:tomorrow tommorrow:tomorrow tomorow:tomorrow tomorrows:tomorrow's tomorrrow:tomorrow "
    "tonite:tonight tothe:to_the tounge:tongue tradegy:tragedy transfered:transferred "
    "transfering:transferring truely:truly truley:truly tryed:tried trys:tries tuseday:tuesday "
    "twelth:twelfth typicaly:typically tyrany:tyranny underate:underrate undoubtably:undoubtedly "
    "unecessary:unnecessary unfortunatley:unfortunately unfortunatly:unfortunately "
    "unfortunetly:unfortunately univeristy:university universty:university unneccessary:unnecessary "
    "untill:until untl:until upto:up_to usally:usually usefull:useful useing:using usualli:usually "
    "usualy:usually vaccum:vacuum vacumn:vacuum vegatable:vegetable vegtable:vegetable vehical:vehicle "
    "verison:version visable:visible volenteer:volunteer volunter:volunteer waether:weather waht:what "
    "was'nt:wasn't weahter:weather wednsday:wednesday weekned:weekend wehn:when welcom:welcome "
    "wellcome:welcome wendesday:wednesday wenesday:wednesday wensday:wednesday whcih:which wheter:whether "
    "whithout:without whne:when whre:where whta:what wich:which wierd:weird wiht:with wihtout:without "
    "wiil:will wirting:writing witout:without wnat:want wnated:wanted wokr:work wokring:working "
    "wonderfull:wonderful worht:worth workign:working woudl:would would'nt:wouldn't wouldnot:would_not "
    "writeing:writing writen:written writting:writing wroking:working wtih:with wuold:would wut:what "
    "yeild:yield yera:year yeras:years yestarday:yesterday yestrday:yesterday yesturday:yesterday yoru:your "
    "yuo:you yuor:your";

std::unordered_map<std::string, std::string> readTable()
{
    std::unordered_map<std::string, std::string> corrections;
    for (const std::string& pair : splitList(table, ' ')) {
        const size_t colon = pair.find(':');
        std::string wrong = pair.substr(0, colon);
        std::string right = pair.substr(colon + 1);
        for (char& c : right) {
            c = c == '_' ? ' ' : c;
        }
        corrections.emplace(std::move(wrong), std::move(right));
    }
    return corrections;
}

} // namespace

std::string wellKnownCorrection(const std::string& lower)
{
    static const auto corrections = readTable();
    const auto found = corrections.find(lower);
    return found == corrections.end() ? std::string() : found->second;
}

} // namespace quillmarsh::service
