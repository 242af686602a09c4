#pragma once

namespace quillmarsh::service {

/// Word lists, blank-separated, from this project's own hand.
struct WordLists
{
    static const char* const verbs;     ///< base forms of common verbs
    static const char* const irregular; ///< past/participle/base triples
    static const char* const adjectives;
    static const char* const comparatives; ///< that do not end in -er, and common ones that do
    static const char* const things;
    static const char* const items;   ///< singular nouns that stand with "has", not with "have"
    static const char* const foreign; ///< small words of other languages that no English text has
    static const char* const functionWords;
    static const char* const commonWords;
    static const char* const jargon;
    static const char* const notIng; ///< words in -ing that are no verbs
};

} // namespace quillmarsh::service
