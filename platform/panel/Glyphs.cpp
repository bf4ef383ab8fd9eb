#include "platform/panel/Glyphs.h"

#include <array>
#include <string_view>

namespace tessik::target {
namespace {

constexpr char kFirst = ' ';

/// One a character from the blank to "~": the rows from the top, each a digit of 0-9, A-V whose
/// five bits are the pixels from the left. Rows that are not given are empty.
constexpr std::array<std::string_view, 95> kGlyphs = {
    "0000000", "4444404",   "AAA0000", "AAVAVAA",   "4FKE5U4",   "OP248J3",   "CIK8LID",
    "4400000", "2488842",   "8422248", "04LEL40",   "044V440",   "00000CC48", "000V000",
    "00000CC", "01248G0",   "EHJLPHE", "4C4444E",   "EH1248V",   "V2421HE",   "26AIV22",
    "VGU11HE", "68GUHHE",   "V124888", "EHHEHHE",   "EHHF12C",   "0CC0CC0",   "0CC0CC48",
    "248G842", "00V0V00",   "8421248", "EH12404",   "EH1DLLE",   "EHHVHHH",   "UHHUHHU",
    "EHGGGHE", "SIHHHIS",   "VGGUGGV", "VGGUGGG",   "EHGNHHF",   "HHHVHHH",   "E44444E",
    "72222IC", "HIKOKIH",   "GGGGGGV", "HRLLHHH",   "HHPLJHH",   "EHHHHHE",   "UHHUGGG",
    "EHHHLID", "UHHUKIH",   "FGGE11U", "V444444",   "HHHHHHE",   "HHHHHA4",   "HHHLLLA",
    "HHA4AHH", "HHHA444",   "V1248GV", "E88888E",   "0G84210",   "E22222E",   "4AH0000",
    "000000V", "8420000",   "00E1FHF", "GGMPHHU",   "00EGGHE",   "11DJHHF",   "00EHVGE",
    "698S888", "00FHHHF1E", "GGMPHHH", "40C444E",   "2062222IC", "GGIKOKI",   "C44444E",
    "00QLLHH", "00MPHHH",   "00EHHHE", "00UHHHUGG", "00FHHHF11", "00MPGGG",   "00FGE1U",
    "88S8896", "00HHHJD",   "00HHHA4", "00HHLLA",   "00HA4AH",   "00HHHHF1E", "00V248V",
    "2448442", "4444444",   "8442448", "008L200"};

std::string_view glyphOf(char character) {
    const auto place = static_cast<std::size_t>(static_cast<unsigned char>(character)) -
                       static_cast<std::size_t>(kFirst);
    constexpr std::size_t kQuestionMark = '?' - kFirst;
    return kGlyphs[place < kGlyphs.size() ? place : kQuestionMark];
}

} // namespace

bool isInk(char character, int x, int y) {
    const std::string_view glyph = glyphOf(character);
    if (x < 0 || x >= kGlyphWidth || y < 0 || y >= static_cast<int>(glyph.size())) {
        return false;
    }
    const char digit = glyph[static_cast<std::size_t>(y)];
    const int row = digit <= '9' ? digit - '0' : digit - 'A' + 10;
    return ((row >> (kGlyphWidth - 1 - x)) & 1) != 0;
}

} // namespace tessik::target
