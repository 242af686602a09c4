#include "offline/BritishSpelling.h"

#include <array>
#include <string_view>
#include <unordered_set>
#include <utility>

#include "base/Text.h"
#include "offline/Lexicon.h"

namespace quillmarsh::service {

namespace {

/// British letters and the American ones in their place.
constexpr std::array<std::pair<std::string_view, std::string_view>, 21> pairs{
    {{"our", "or"},       {"ise", "ize"},    {"isa", "iza"},     {"isi", "izi"},    {"yse", "yze"},
     {"ysi", "yzi"},      {"lled", "led"},   {"lling", "ling"},  {"ller", "ler"},   {"llist", "list"},
     {"lment", "llment"}, {"lful", "llful"}, {"llor", "lor"},    {"llous", "lous"}, {"tre", "ter"},
     {"bre", "ber"},      {"ogue", "og"},    {"fence", "fense"}, {"aed", "ed"},     {"oed", "ed"},
     {"amme", "am"}}};

const std::unordered_set<std::string>& ownWords()
{
    static const std::unordered_set<std::string> words = [] {
        const auto list = splitList(
            "grey greys greyish cheque cheques kerb kerbs tyre tyres mum mums mummy storey storeys plough "
            "ploughed "
            "sceptical sceptic scepticism moustache manoeuvre manoeuvres jewellery aeroplane aluminium "
            "pyjamas whilst "
            "amongst learnt spelt dreamt burnt leapt smelt spoilt licence licences practise practises "
            "practised "
            "practising "
            "centred centring theatres metres litres fibres disc discs draught draughts cosy cosier furore "
            "gaol "
            "enrol enrols fulfil fulfils instil skilful wilful enquire enquiry enquiries mould moulds "
            "smoulder "
            "programme programmes tonne tonnes arse bloke blokes quid lorry lorries fortnight maths trolley "
            "yoghurt doughnut doughnuts axe carat orientated titbit towards afterwards backwards speciality "
            "aeroplanes artefact artefacts cypher glycerine marvellous woollen chilli ageing judgement "
            "acknowledgement acknowledgements",
            ' ');
        return std::unordered_set<std::string>(list.begin(), list.end());
    }();
    return words;
}

} // namespace

bool isBritishSpelling(const std::string& lower, const Lexicon& lexicon)
{
    if (ownWords().contains(lower)) {
        return true;
    }
    for (const auto& [british, american] : pairs) {
        for (size_t at = lower.find(british); at != std::string::npos; at = lower.find(british, at + 1)) {
            std::string other = lower;
            other.replace(at, british.size(), american);
            if (at > 0 && lexicon.hasForm(other)) {
                return true;
            }
        }
    }
    return lower.starts_with("centr") && lexicon.hasForm("center" + lower.substr(5));
}

} // namespace quillmarsh::service
