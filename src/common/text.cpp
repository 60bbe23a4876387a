#include "common/text.hpp"

#include <bit>
#include <cstring>
#include <type_traits>

#include <emmintrin.h>

namespace system_search {
namespace {

// ---- Blocks -------------------------------------------------------------------------------------

template <std::size_t kWidth>
using Width = std::integral_constant<std::size_t, kWidth>;

// Covers `size` elements with calls of step(offset, Width<n>), which returns how many of the n
// elements from `offset` it took; fewer than n stops. Returns how many leading elements were taken.
//
// The last vector ends where the text ends and may so overlap the one before it: a step must allow
// elements to be taken twice. That leaves single elements only to texts shorter than 4.
template <typename Step>
inline std::size_t take_blocks(std::size_t size, Step step) noexcept {
    std::size_t offset = 0;
    const auto take = [&](auto width) {
        for (; size - offset > width; offset += width) {
            const std::size_t taken = step(offset, width);
            if (taken != width) return offset + taken;
        }
        return size - width + step(size - width, width);
    };
    if (size >= 16) return take(Width<16>());
    if (size >= 8) return take(Width<8>());
    if (size >= 4) return take(Width<4>());
    while (offset < size && step(offset, Width<1>()) == 1) ++offset;
    return offset;
}

inline __m128i load_bytes(const char* from, Width<16>) {
    return _mm_loadu_si128(reinterpret_cast<const __m128i*>(from));
}
inline __m128i load_bytes(const char* from, Width<8>) {
    return _mm_loadl_epi64(reinterpret_cast<const __m128i*>(from));
}
inline __m128i load_bytes(const char* from, Width<4>) {
    int bits;
    std::memcpy(&bits, from, sizeof bits);
    return _mm_cvtsi32_si128(bits);
}

inline void store_bytes(__m128i bytes, char* to, Width<16>) {
    _mm_storeu_si128(reinterpret_cast<__m128i*>(to), bytes);
}
inline void store_bytes(__m128i bytes, char* to, Width<8>) {
    _mm_storel_epi64(reinterpret_cast<__m128i*>(to), bytes);
}
inline void store_bytes(__m128i bytes, char* to, Width<4>) {
    const int bits = _mm_cvtsi128_si32(bytes);
    std::memcpy(to, &bits, sizeof bits);
}

// A byte of the mask is all ones where the byte is A to Z. The signed comparison leaves out bytes
// from 0x80 on, which are negative.
inline __m128i upper_mask(__m128i bytes) {
    return _mm_and_si128(_mm_cmpgt_epi8(bytes, _mm_set1_epi8('A' - 1)),
                         _mm_cmplt_epi8(bytes, _mm_set1_epi8('Z' + 1)));
}

inline __m128i fold_bytes(__m128i bytes) {
    return _mm_or_si128(bytes, _mm_and_si128(upper_mask(bytes), _mm_set1_epi8(0x20)));
}

inline __m128i slash_bytes(__m128i bytes) {
    const __m128i backslashes = _mm_cmpeq_epi8(bytes, _mm_set1_epi8('\\'));
    return _mm_xor_si128(bytes, _mm_and_si128(backslashes, _mm_set1_epi8('\\' ^ '/')));
}

// All ones where a 16-bit unit is below 0x80.
inline __m128i ascii_units(__m128i units) {
    const __m128i high = _mm_and_si128(units, _mm_set1_epi16(static_cast<short>(0xFF80)));
    return _mm_cmpeq_epi16(high, _mm_setzero_si128());
}

// The number of elements before the first set bit, at most `width`.
inline std::size_t leading_zeros(unsigned mask, std::size_t width) {
    return static_cast<std::size_t>(std::countr_zero(mask | (1u << width)));
}

inline std::size_t leading_ascii(__m128i bytes, std::size_t width) {
    return leading_zeros(static_cast<unsigned>(_mm_movemask_epi8(bytes)), width);
}

// Narrows units into `to`, ASCII or not, and returns how many leading ones are ASCII.
template <std::size_t kWidth>
inline std::size_t narrow_units(const char16_t* from, char* to, Width<kWidth> width) {
    const char* const bytes = reinterpret_cast<const char*>(from);
    __m128i low;
    __m128i high = _mm_setzero_si128();
    if constexpr (kWidth == 4) {
        low = load_bytes(bytes, Width<8>());
    } else {
        low = load_bytes(bytes, Width<16>());
        if constexpr (kWidth == 16) high = load_bytes(bytes + 16, Width<16>());
    }
    store_bytes(_mm_packus_epi16(low, high), to, width);
    const __m128i ascii = _mm_packs_epi16(ascii_units(low), ascii_units(high));
    return leading_zeros(~static_cast<unsigned>(_mm_movemask_epi8(ascii)), kWidth);
}

// Widens bytes into `to`, ASCII or not, and returns how many leading ones are ASCII.
template <std::size_t kWidth>
inline std::size_t widen_bytes(const char* from, char16_t* to, Width<kWidth> width) {
    const __m128i bytes = load_bytes(from, width);
    char* const out = reinterpret_cast<char*>(to);
    const __m128i low = _mm_unpacklo_epi8(bytes, _mm_setzero_si128());
    if constexpr (kWidth == 4) {
        store_bytes(low, out, Width<8>());
    } else {
        store_bytes(low, out, Width<16>());
        if constexpr (kWidth == 16) {
            store_bytes(_mm_unpackhi_epi8(bytes, _mm_setzero_si128()), out + 16, Width<16>());
        }
    }
    return leading_ascii(bytes, kWidth);
}

inline bool is_ascii(char byte) {
    return static_cast<unsigned char>(byte) < 0x80;
}

inline std::size_t narrow_units(const char16_t* from, char* to, Width<1>) {
    *to = static_cast<char>(*from);
    return *from < 0x80 ? 1 : 0;
}

inline std::size_t widen_bytes(const char* from, char16_t* to, Width<1>) {
    *to = static_cast<unsigned char>(*from);
    return is_ascii(*from) ? 1 : 0;
}

// The length of the ASCII run that `text` begins with.
std::size_t skip_ascii(const char* text, std::size_t size) noexcept {
    return take_blocks(size, [=](std::size_t at, auto width) -> std::size_t {
        if constexpr (width == 1) {
            return is_ascii(text[at]) ? 1 : 0;
        } else {
            return leading_ascii(load_bytes(text + at, width), width);
        }
    });
}

// ---- One character ------------------------------------------------------------------------------

inline bool is_surrogate(char32_t unit) {
    return unit >= 0xD800 && unit <= 0xDFFF;
}

inline bool is_low_surrogate(char32_t unit) {
    return unit >= 0xDC00 && unit <= 0xDFFF;
}

struct Decoded {
    char32_t code_point;
    std::size_t bytes;  // 0: ill-formed
};

// Decodes the character at `in`, whose first byte is not ASCII.
Decoded decode_sequence(const char* in, std::size_t left) noexcept {
    constexpr Decoded kIllFormed = {0, 0};
    const auto byte = [in](std::size_t at) -> char32_t {
        return static_cast<unsigned char>(in[at]);
    };
    const auto is_trail = [&](std::size_t at) { return (byte(at) & 0xC0) == 0x80; };

    const char32_t lead = byte(0);
    // 0xC0 and 0xC1 could only begin overlong forms of ASCII.
    if (lead < 0xC2) return kIllFormed;
    if (lead < 0xE0) {
        if (left < 2 || !is_trail(1)) return kIllFormed;
        return {(lead & 0x1F) << 6 | (byte(1) & 0x3F), 2};
    }
    if (lead < 0xF0) {
        if (left < 3 || !is_trail(1) || !is_trail(2)) return kIllFormed;
        const char32_t c = (lead & 0x0F) << 12 | (byte(1) & 0x3F) << 6 | (byte(2) & 0x3F);
        if (c < 0x800 || is_surrogate(c)) return kIllFormed;
        return {c, 3};
    }
    if (lead > 0xF4 || left < 4 || !is_trail(1) || !is_trail(2) || !is_trail(3)) return kIllFormed;
    const char32_t c =
        (lead & 0x07) << 18 | (byte(1) & 0x3F) << 12 | (byte(2) & 0x3F) << 6 | (byte(3) & 0x3F);
    if (c < 0x10000 || c > 0x10FFFF) return kIllFormed;
    return {c, 4};
}

// ---- Whole texts --------------------------------------------------------------------------------

// Names up to this length are converted on the stack, so that appending copies only the result.
constexpr std::size_t kShortText = 256;

// Writes the UTF-16 of `text`; `out` needs room for one unit a byte. Returns the number of units.
std::size_t decode_utf8(std::string_view text, char16_t* out) noexcept {
    const char* in = text.data();
    std::size_t left = text.size();
    char16_t* const begin = out;
    for (;;) {
        const std::size_t run = take_blocks(left, [=](std::size_t at, auto width) {
            return widen_bytes(in + at, out + at, width);
        });
        in += run;
        out += run;
        left -= run;
        if (left == 0) return static_cast<std::size_t>(out - begin);
        do {
            const Decoded c = decode_sequence(in, left);
            if (c.bytes == 0) return kInvalidText;
            if (c.code_point < 0x10000) {
                *out++ = static_cast<char16_t>(c.code_point);
            } else {
                *out++ = static_cast<char16_t>(0xD7C0 + (c.code_point >> 10));
                *out++ = static_cast<char16_t>(0xDC00 | (c.code_point & 0x3FF));
            }
            in += c.bytes;
            left -= c.bytes;
        } while (left != 0 && !is_ascii(*in));
    }
}

// Appends what convert(text, to) writes into room for kRoom elements per element of the text.
template <std::size_t kRoom, typename From, typename To, typename Convert>
bool append_converted(std::basic_string_view<From> text, std::basic_string<To>& out,
                      Convert convert) {
    if (text.size() <= kShortText) {
        To buffer[kShortText * kRoom];
        const std::size_t size = convert(text, buffer);
        if (size == kInvalidText) return false;
        out.append(buffer, size);
        return true;
    }
    const std::size_t before = out.size();
    out.resize(before + text.size() * kRoom);
    const std::size_t size = convert(text, out.data() + before);
    out.resize(size == kInvalidText ? before : before + size);
    return size != kInvalidText;
}

}  // namespace

std::size_t encode_utf8(std::u16string_view text, char* out) noexcept {
    const char16_t* in = text.data();
    std::size_t left = text.size();
    char* const begin = out;
    const auto put = [&out](char32_t byte) { *out++ = static_cast<char>(byte); };
    for (;;) {
        const std::size_t run = take_blocks(left, [=](std::size_t at, auto width) {
            return narrow_units(in + at, out + at, width);
        });
        in += run;
        out += run;
        left -= run;
        if (left == 0) return static_cast<std::size_t>(out - begin);
        do {
            char32_t c = *in;
            if (c < 0x800) {
                put(0xC0 | c >> 6);
            } else if (!is_surrogate(c)) {
                put(0xE0 | c >> 12);
                put(0x80 | (c >> 6 & 0x3F));
            } else {
                if (is_low_surrogate(c) || left < 2 || !is_low_surrogate(in[1])) {
                    return kInvalidText;
                }
                c = 0x10000 + ((c & 0x3FF) << 10 | (in[1] & 0x3FF));
                put(0xF0 | c >> 18);
                put(0x80 | (c >> 12 & 0x3F));
                put(0x80 | (c >> 6 & 0x3F));
                ++in;
                --left;
            }
            put(0x80 | (c & 0x3F));
            ++in;
            --left;
        } while (left != 0 && *in >= 0x80);
    }
}

bool append_utf8(std::u16string_view text, std::string& out) {
    return append_converted<3>(text, out, encode_utf8);
}

bool append_wide(std::string_view text, std::u16string& out) {
    return append_converted<1>(text, out, decode_utf8);
}

std::string utf8_from_wide(std::u16string_view text) {
    std::string out;
    if (!append_utf8(text, out)) throw TextError("The text is not valid UTF-16.");
    return out;
}

std::u16string wide_from_utf8(std::string_view text) {
    std::u16string out;
    if (!append_wide(text, out)) throw TextError("The text is not valid UTF-8.");
    return out;
}

bool is_valid_utf8(std::string_view text) noexcept {
    const char* in = text.data();
    std::size_t left = text.size();
    for (;;) {
        const std::size_t run = skip_ascii(in, left);
        in += run;
        left -= run;
        if (left == 0) return true;
        do {
            const std::size_t bytes = decode_sequence(in, left).bytes;
            if (bytes == 0) return false;
            in += bytes;
            left -= bytes;
        } while (left != 0 && !is_ascii(*in));
    }
}

void replace_backslashes(char* text, std::size_t bytes) noexcept {
    take_blocks(bytes, [=](std::size_t at, auto width) -> std::size_t {
        if constexpr (width == 1) {
            if (text[at] == '\\') text[at] = '/';
        } else {
            store_bytes(slash_bytes(load_bytes(text + at, width)), text + at, width);
        }
        return width;
    });
}

void fold_into(std::string_view text, char* out) noexcept {
    const char* const in = text.data();
    take_blocks(text.size(), [=](std::size_t at, auto width) -> std::size_t {
        if constexpr (width == 1) {
            out[at] = fold(in[at]);
        } else {
            store_bytes(fold_bytes(load_bytes(in + at, width)), out + at, width);
        }
        return width;
    });
}

bool has_upper_ascii(std::string_view text) noexcept {
    const char* const in = text.data();
    const std::size_t without =
        take_blocks(text.size(), [=](std::size_t at, auto width) -> std::size_t {
            if constexpr (width == 1) {
                return fold(in[at]) == in[at] ? 1 : 0;
            } else {
                const __m128i upper = upper_mask(load_bytes(in + at, width));
                return leading_zeros(static_cast<unsigned>(_mm_movemask_epi8(upper)), width);
            }
        });
    return without != text.size();
}

}  // namespace system_search
