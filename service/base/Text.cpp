#include "base/Text.h"

#include <array>
#include <memory>

#include <openssl/evp.h>
#include <unicode/ubrk.h>
#include <unicode/utext.h>
#include <unicode/utf8.h>

namespace quillmarsh::service {

namespace {

struct CloseText
{
    void operator()(UText* text) const { utext_close(text); }
};

struct CloseIterator
{
    void operator()(UBreakIterator* iterator) const { ubrk_close(iterator); }
};

bool isAllAscii(std::string_view text)
{
    for (const char c : text) {
        if (static_cast<unsigned char>(c) >= 0x80 || c == '\r') {
            return false; // CR LF is one character, so a text with CR takes the long way
        }
    }
    return true;
}

int base64UrlValue(char c)
{
    constexpr std::string_view digits = "ABCDEFGHIJKLMNOPQRSTUVWXYZabcdefghijklmnopqrstuvwxyz0123456789-_";
    const size_t position = digits.find(c);
    return position == std::string_view::npos ? -1 : static_cast<int>(position);
}

} // namespace

bool isValidUtf8(std::string_view bytes)
{
    const auto* data = reinterpret_cast<const std::uint8_t*>(bytes.data());
    const auto length = static_cast<std::int32_t>(bytes.size());
    std::int32_t position = 0;
    while (position < length) {
        UChar32 character = 0;
        U8_NEXT(data, position, length, character);
        if (character < 0) {
            return false;
        }
    }
    return true;
}

size_t countCharacters(std::string_view utf8, size_t enough)
{
    if (isAllAscii(utf8)) {
        return std::min(utf8.size(), enough);
    }
    UErrorCode status = U_ZERO_ERROR;
    const std::unique_ptr<UText, CloseText> text(
        utext_openUTF8(nullptr, utf8.data(), static_cast<std::int64_t>(utf8.size()), &status));
    const std::unique_ptr<UBreakIterator, CloseIterator> iterator(
        ubrk_open(UBRK_CHARACTER, "en", nullptr, 0, &status));
    if (U_FAILURE(status) != 0) {
        return std::min(utf8.size(), enough);
    }
    ubrk_setUText(iterator.get(), text.get(), &status);
    size_t count = 0;
    while (count < enough && ubrk_next(iterator.get()) != UBRK_DONE) {
        ++count;
    }
    return count;
}

std::string_view trimmed(std::string_view text)
{
    constexpr std::string_view blanks = " \t\r\n";
    const size_t first = text.find_first_not_of(blanks);
    if (first == std::string_view::npos) {
        return {};
    }
    return text.substr(first, text.find_last_not_of(blanks) - first + 1);
}

std::string asciiLower(std::string_view text)
{
    std::string lower(text);
    for (char& c : lower) {
        if (c >= 'A' && c <= 'Z') {
            c = static_cast<char>(c + ('a' - 'A'));
        }
    }
    return lower;
}

std::vector<std::string> splitList(std::string_view text, char separator)
{
    std::vector<std::string> pieces;
    while (!text.empty()) {
        const size_t end = text.find(separator);
        const std::string_view piece = trimmed(text.substr(0, end));
        if (!piece.empty()) {
            pieces.emplace_back(piece);
        }
        text = end == std::string_view::npos ? std::string_view{} : text.substr(end + 1);
    }
    return pieces;
}

std::optional<std::string> decodeBase64Url(std::string_view text)
{
    if (text.size() % 4 == 1) {
        return std::nullopt;
    }
    std::string bytes;
    unsigned accumulator = 0;
    int bits = 0;
    for (const char c : text) {
        const int value = base64UrlValue(c);
        if (value < 0) {
            return std::nullopt;
        }
        accumulator = (accumulator << 6U) | static_cast<unsigned>(value);
        bits += 6;
        if (bits >= 8) {
            bits -= 8;
            bytes.push_back(static_cast<char>((accumulator >> static_cast<unsigned>(bits)) & 0xFFU));
        }
    }
    const unsigned unused = accumulator & ((1U << static_cast<unsigned>(bits)) - 1U);
    return unused == 0 ? std::optional(bytes) : std::nullopt;
}

std::string sha256Hex(std::string_view bytes)
{
    std::array<unsigned char, EVP_MAX_MD_SIZE> digest{};
    unsigned length = 0;
    EVP_Digest(bytes.data(), bytes.size(), digest.data(), &length, EVP_sha256(), nullptr);
    constexpr std::string_view digits = "0123456789abcdef";
    std::string hex;
    for (unsigned i = 0; i < length; ++i) {
        hex += digits[digest[i] >> 4U];
        hex += digits[digest[i] & 0xFU];
    }
    return hex;
}

} // namespace quillmarsh::service
