// The conversions, folding and the separator change against the reference implementation, on bytes
// taken as UTF-8 and, in pairs, as UTF-16.
#include <cstdint>
#include <cstdlib>
#include <cstring>
#include <string>
#include <vector>

#include "common/text.hpp"
#include "rules/common/reference_text.hpp"

using namespace system_search;

namespace {

void check(bool holds) {
    if (!holds) std::abort();
}

void check_decoding(const std::vector<char>& bytes) {
    const std::string_view text(bytes.data(), bytes.size());
    std::u16string expected;
    const bool valid = reference_decode(text, expected);
    check(is_valid_utf8(text) == valid);
    std::u16string wide;
    check(append_wide(text, wide) == valid);
    check(wide == (valid ? expected : u""));
    if (valid) check(utf8_from_wide(wide) == text);
}

void check_encoding(const std::vector<char16_t>& units) {
    const std::u16string_view text(units.data(), units.size());
    std::string expected;
    const bool valid = reference_encode(text, expected);
    std::vector<char> room(units.size() * 3);
    const std::size_t size = encode_utf8(text, room.data());
    check((size != kInvalidText) == valid);
    if (valid) check(std::string_view(room.data(), size) == expected);
    std::string utf8;
    check(append_utf8(text, utf8) == valid);
    check(utf8 == (valid ? expected : ""));
    if (valid) check(wide_from_utf8(utf8) == text);
}

void check_bytes(const std::vector<char>& bytes) {
    std::vector<char> folded(bytes.size());
    fold_into({bytes.data(), bytes.size()}, folded.data());
    std::vector<char> slashed = bytes;
    replace_backslashes(slashed.data(), slashed.size());
    for (std::size_t i = 0; i < bytes.size(); ++i) {
        check(folded[i] == reference_fold(bytes[i]));
        check(fold(bytes[i]) == reference_fold(bytes[i]));
        check(slashed[i] == (bytes[i] == '\\' ? '/' : bytes[i]));
    }
    check(has_upper_ascii({bytes.data(), bytes.size()}) == (folded != bytes));
}

}  // namespace

// The vectors have exactly the size of the input, so that the address sanitizer sees every access
// past its end.
extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    const std::vector<char> bytes(data, data + size);
    check_decoding(bytes);
    check_bytes(bytes);
    std::vector<char16_t> units(size / sizeof(char16_t));
    if (!units.empty()) std::memcpy(units.data(), data, units.size() * sizeof(char16_t));
    check_encoding(units);
    return 0;
}
