#include "platform/linux_online/icu/text_icu.h"

#include <unicode/ubrk.h>
#include <unicode/ucal.h>
#include <unicode/uchar.h>
#include <unicode/udat.h>
#include <unicode/uidna.h>
#include <unicode/uloc.h>
#include <unicode/ustring.h>
#include <unicode/utext.h>
#include <unicode/utf8.h>

#include <array>
#include <memory>

namespace tobrel {

namespace {

struct Close {
    void operator()(UIDNA* names) const { uidna_close(names); }
    void operator()(UText* text) const { utext_close(text); }
    void operator()(UBreakIterator* iterator) const { ubrk_close(iterator); }
    void operator()(UDateFormat* format) const { udat_close(format); }
};

bool isWhitespace(UChar32 character) {
    return character == '\t' || u_charType(character) == U_SPACE_SEPARATOR;
}

bool isWhitespaceOrNewline(UChar32 character) {
    return isWhitespace(character) || (character >= 0x0A && character <= 0x0D) || character == 0x85 ||
           character == 0x2028 || character == 0x2029;
}

std::string_view trimming(std::string_view text, bool (*isTrimmed)(UChar32)) {
    const char* bytes = text.data();
    std::int32_t first = 0;
    std::int32_t end = static_cast<std::int32_t>(text.size());
    while (first < end) {
        std::int32_t next = first;
        UChar32 character;
        U8_NEXT(bytes, next, end, character);
        if (character < 0 || !isTrimmed(character)) break;
        first = next;
    }
    while (first < end) {
        std::int32_t previous = end;
        UChar32 character;
        U8_PREV(bytes, first, previous, character);
        if (character < 0 || !isTrimmed(character)) break;
        end = previous;
    }
    return text.substr(first, end - first);
}

// The library reckons by the Julian calendar before 1582, servers do not. Calendars of other kinds have no such change.
void extendGregorianCalendar(UDateFormat* format) {
    UErrorCode error = U_ZERO_ERROR;
    UCalendar* calendar = ucal_clone(udat_getCalendar(format), &error);
    ucal_setGregorianChange(calendar, -U_DATE_MAX, &error);
    if (U_SUCCESS(error)) udat_setCalendar(format, calendar);
    ucal_close(calendar);
}

}  // namespace

std::vector<std::string_view> IcuTextServices::characters(std::string_view text) {
    UErrorCode error = U_ZERO_ERROR;
    std::unique_ptr<UText, Close> bytes(
        utext_openUTF8(nullptr, text.data(), static_cast<std::int64_t>(text.size()), &error));
    std::unique_ptr<UBreakIterator, Close> iterator(ubrk_open(UBRK_CHARACTER, "", nullptr, 0, &error));
    if (U_SUCCESS(error)) ubrk_setUText(iterator.get(), bytes.get(), &error);
    std::vector<std::string_view> characters;
    std::size_t start = 0;
    while (U_FAILURE(error) && start < text.size()) characters.push_back(text.substr(start++, 1));
    if (U_FAILURE(error)) return characters;
    for (int end = ubrk_next(iterator.get()); end != UBRK_DONE; end = ubrk_next(iterator.get())) {
        characters.push_back(text.substr(start, end - start));
        start = end;
    }
    return characters;
}

std::string_view IcuTextServices::trimmingWhitespace(std::string_view text) {
    return trimming(text, isWhitespace);
}

std::string_view IcuTextServices::trimmingWhitespaceAndNewlines(std::string_view text) {
    return trimming(text, isWhitespaceOrNewline);
}

std::string IcuTextServices::mediumDate(std::int64_t wallClock, const std::string& locale) {
    UErrorCode error = U_ZERO_ERROR;
    std::array<char, ULOC_FULLNAME_CAPACITY> canonical{};
    uloc_canonicalize(locale.c_str(), canonical.data(), canonical.size() - 1, &error);
    if (U_FAILURE(error)) canonical = {"en_US_POSIX"};
    error = U_ZERO_ERROR;
    std::unique_ptr<UDateFormat, Close> format(
        udat_open(UDAT_NONE, UDAT_MEDIUM, canonical.data(), u"UTC", -1, nullptr, 0, &error));
    if (U_SUCCESS(error)) extendGregorianCalendar(format.get());
    std::array<UChar, 256> date;
    UDate milliseconds = static_cast<UDate>(wallClock) * 1000;
    int length =
        U_SUCCESS(error) ? udat_format(format.get(), milliseconds, date.data(), date.size(), nullptr, &error) : 0;
    std::array<char, 3 * date.size()> text;
    int bytes = 0;
    u_strToUTF8(text.data(), text.size(), &bytes, date.data(), length, &error);
    return U_SUCCESS(error) ? std::string(text.data(), bytes) : std::string();
}

std::optional<std::string> IcuTextServices::asciiHost(std::string_view host) {
    UErrorCode error = U_ZERO_ERROR;
    constexpr std::uint32_t options =
        UIDNA_CHECK_BIDI | UIDNA_CHECK_CONTEXTJ | UIDNA_NONTRANSITIONAL_TO_ASCII | UIDNA_NONTRANSITIONAL_TO_UNICODE;
    std::unique_ptr<UIDNA, Close> names(uidna_openUTS46(options, &error));
    std::array<char, 256> ascii;
    UIDNAInfo info = UIDNA_INFO_INITIALIZER;
    if (U_FAILURE(error)) return std::nullopt;
    int length = uidna_nameToASCII_UTF8(names.get(), host.data(), static_cast<int>(host.size()), ascii.data(),
                                        ascii.size(), &info, &error);
    if (U_FAILURE(error) || info.errors != 0) return std::nullopt;
    return std::string(ascii.data(), static_cast<std::size_t>(length));
}

}  // namespace tobrel
