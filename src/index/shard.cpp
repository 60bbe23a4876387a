#include "index/shard.hpp"

#include <algorithm>
#include <bit>
#include <cstring>
#include <stdexcept>
#include <type_traits>
#include <utility>

#include "index/signature.hpp"

#include <emmintrin.h>

namespace system_search {
namespace {

// How many bytes are folded, or restored, at once.
constexpr std::size_t kVector = 16;
static_assert(kTextPadding >= 2 * kVector);

__m128i load(const char* from) {
    return _mm_loadu_si128(reinterpret_cast<const __m128i*>(from));
}

void store(char* to, __m128i vector) {
    _mm_storeu_si128(reinterpret_cast<__m128i*>(to), vector);
}

// Folds 16 bytes in place. Returns a bit for each that was an uppercase letter.
unsigned fold_vector(char* text) {
    const __m128i bytes = load(text);
    // Signed, so that bytes from 0x80 on are below "A".
    const __m128i uppercase = _mm_and_si128(_mm_cmpgt_epi8(bytes, _mm_set1_epi8('A' - 1)),
                                            _mm_cmplt_epi8(bytes, _mm_set1_epi8('Z' + 1)));
    store(text, _mm_or_si128(bytes, _mm_and_si128(uppercase, _mm_set1_epi8('a' ^ 'A'))));
    return static_cast<unsigned>(_mm_movemask_epi8(uppercase));
}

// All ones in those of 16 bytes whose bit is set.
__m128i spread(unsigned bits) {
    __m128i bytes = _mm_cvtsi32_si128(static_cast<int>(bits));
    bytes = _mm_unpacklo_epi8(bytes, bytes);
    bytes = _mm_shufflelo_epi16(bytes, _MM_SHUFFLE(1, 1, 0, 0));
    bytes = _mm_unpacklo_epi32(bytes, bytes);
    const __m128i bit_of_byte = _mm_set1_epi64x(static_cast<long long>(0x8040201008040201));
    return _mm_cmpeq_epi8(_mm_and_si128(bytes, bit_of_byte), bit_of_byte);
}

// The bytes of a bitmap of uppercase letters, whole vectors of texts.
std::size_t uppercase_bytes(std::size_t text_bytes) {
    return (text_bytes + kVector - 1) / kVector * (kVector / 8);
}

// 16 bits of a bitmap from any position on.
unsigned bits_at(const char* bitmap, std::size_t position) {
    std::uint32_t bits;
    std::memcpy(&bits, bitmap + position / 8, sizeof bits);
    return bits >> position % 8 & 0xFFFF;
}

// A bit for each of the first `bytes` of 16.
unsigned first_bits(std::size_t bytes) {
    return bytes < kVector ? (1u << bytes) - 1 : 0xFFFF;
}

// The first bytes of a name, so that a comparison of two such numbers tells which name comes
// first, unless they are equal. 8 bytes from the name on must be readable.
std::uint64_t leading_bytes(std::string_view name) {
    std::uint64_t bytes;
    std::memcpy(&bytes, name.data(), sizeof bytes);
    bytes = __builtin_bswap64(bytes);
    const std::size_t behind = sizeof bytes - std::min(name.size(), sizeof bytes);
    return behind == sizeof bytes ? 0 : bytes >> 8 * behind << 8 * behind;
}

}  // namespace

// The sections of the block in their order; what needs the widest alignment comes first.
template <typename Visit>
void Shard::for_sections(Visit visit) {
    visit(signatures_, std::size_t{kSignatureBits} * words_);
    visit(folder_bigrams_, kByteClasses);
    visit(extensions_, extension_count_);
    visit(runs_, std::size_t{run_count_} + 1);
    visit(name_starts_, std::size_t{size_} + 1);
    visit(extension_numbers_, size_);
    visit(uppercase_, uppercase_bytes(text_bytes_));
    visit(texts_, text_bytes_);
    visit(padding_, kTextPadding);
}

Shard::Shard(const Batch& batch)
    : size_(static_cast<std::uint32_t>(batch.size())),
      words_((size_ + 63) / 64),
      run_count_(static_cast<std::uint32_t>(batch.runs().size())),
      text_bytes_(batch.folder_texts().size() + batch.names().size()) {
    ExtensionNumbers extensions;
    std::uint8_t extension_numbers[kShardEntries];
    for (std::uint32_t i = 0; i < size_; ++i) {
        extension_numbers[i] = extensions.number_of(extension_of(batch.name(i)));
    }
    extension_count_ = static_cast<std::uint32_t>(extensions.all().size());

    for_sections(
        [&](auto*& section, std::size_t count) { block_bytes_ += sizeof *section * count; });
    block_ = std::make_unique_for_overwrite<std::byte[]>(block_bytes_);
    std::byte* at = block_.get();
    for_sections([&](auto*& section, std::size_t count) {
        section = reinterpret_cast<std::remove_reference_t<decltype(section)>>(at);
        at += sizeof *section * count;
    });

    FolderRun* const closing = std::copy(batch.runs().begin(), batch.runs().end(), runs_);
    *closing = {0, 0, static_cast<std::uint16_t>(size_)};
    std::copy(extensions.all().begin(), extensions.all().end(), extensions_);
    std::copy_n(extension_numbers, size_, extension_numbers_);
    fill_texts(batch);
    fill_signatures(batch);
    fill_folder_bigrams();
    least_ = find_least();
}

void Shard::fill_texts(const Batch& batch) {
    const std::string_view folders = batch.folder_texts();
    const std::string_view names = batch.names();
    std::memcpy(texts_, folders.data(), folders.size());
    std::memcpy(texts_ + folders.size(), names.data(), names.size());
    const auto first_name = static_cast<std::uint32_t>(folders.size());
    for (std::uint32_t i = 0; i < size_; ++i) {
        name_starts_[i] = first_name + batch.name_starts()[i];
    }
    name_starts_[size_] = static_cast<std::uint32_t>(text_bytes_);

    std::memset(padding_, 0, kTextPadding);
    char* uppercase = uppercase_;
    for (std::size_t at = 0; at < text_bytes_; at += kVector) {
        const auto bits = static_cast<std::uint16_t>(fold_vector(texts_ + at));
        std::memcpy(uppercase, &bits, sizeof bits);
        uppercase += sizeof bits;
    }
    if (uppercase != texts_) throw std::logic_error("A section of a shard has another size.");
}

void Shard::fill_signatures(const Batch& batch) {
    std::fill_n(signatures_, std::size_t{kSignatureBits} * words_, 0);
    for (std::uint32_t i = 0; i < size_; ++i) {
        std::uint64_t* const word = signatures_ + i / 64;
        const std::uint64_t mask = std::uint64_t{1} << i % 64;
        const std::string_view name = folded_name(i);
        for_signature_bits(name, [&](unsigned bit) { word[std::size_t{bit} * words_] |= mask; });
        if (has_uppercase(name)) word[std::size_t{kUppercaseBit} * words_] |= mask;
    }
    std::copy_n(batch.folder_bits().begin(), words_,
                signatures_ + std::size_t{kFolderBit} * words_);
    for (std::uint32_t word = 0; word < words_; ++word) {
        folders_ += static_cast<std::uint32_t>(std::popcount(signature(kFolderBit)[word]));
    }
}

void Shard::fill_folder_bigrams() {
    std::fill_n(folder_bigrams_, kByteClasses, 0);
    unsigned before = 0;
    // Where one folder ends and the next begins is a bigram as well, which does no harm.
    for (const char byte : folder_texts()) {
        const unsigned now = byte_bit(byte);
        folder_bigrams_[before] |= std::uint64_t{1} << now;
        before = now;
    }
}

bool Shard::folders_hold(char first, char second) const {
    return (folder_bigrams_[byte_bit(first)] >> byte_bit(second) & 1) != 0;
}

// The least entry of each run is the one with the least name; only these are compared as paths.
std::uint32_t Shard::find_least() const {
    std::uint32_t least = 0;
    for (const FolderRun& run : runs()) {
        std::uint32_t run_least = run.first;
        std::uint64_t least_bytes = leading_bytes(folded_name(run_least));
        for (std::uint32_t i = run.first + 1u; i < end_of(run); ++i) {
            const std::uint64_t bytes = leading_bytes(folded_name(i));
            if (bytes > least_bytes) continue;
            if (bytes == least_bytes && !orders_before({this, i}, {this, run_least})) continue;
            run_least = i;
            least_bytes = bytes;
        }
        if (orders_before({this, run_least}, {this, least})) least = run_least;
    }
    return least;
}

const FolderRun& Shard::run_of(std::uint32_t entry) const {
    const auto all = runs();
    return *(std::upper_bound(
                 all.begin(), all.end(), entry,
                 [](std::uint32_t number, const FolderRun& run) { return number < run.first; }) -
             1);
}

bool Shard::has_uppercase(std::string_view folded) const {
    const auto start = static_cast<std::size_t>(folded.data() - texts_);
    for (std::size_t at = 0; at < folded.size(); at += kVector) {
        if ((bits_at(uppercase_, start + at) & first_bits(folded.size() - at)) != 0) return true;
    }
    return false;
}

void Shard::restore(std::string_view folded, char* out) const {
    const auto start = static_cast<std::size_t>(folded.data() - texts_);
    for (std::size_t at = 0; at < folded.size(); at += kVector) {
        const __m128i uppercase = spread(bits_at(uppercase_, start + at));
        store(out + at, _mm_xor_si128(load(folded.data() + at),
                                      _mm_and_si128(uppercase, _mm_set1_epi8('a' ^ 'A'))));
    }
}

Entry Shard::entry(std::uint32_t number) const {
    const std::string_view folder = folded_folder(run_of(number));
    const std::string_view name = folded_name(number);
    std::string path(folder.size() + name.size() + kTextPadding, '\0');
    restore(folder, path.data());
    restore(name, path.data() + folder.size());
    path.resize(folder.size() + name.size());
    return {std::move(path), has(kFolderBit, number) ? kKindFolder : kKindFile};
}

namespace {

// Compares whole folded paths where they lie. A name holds no "/", and a folder ends in one: where
// one folder continues beyond the other, that continuation and the other's name differ within
// both.
int compare_folded(std::string_view a_folder, std::string_view a_name, std::string_view b_folder,
                   std::string_view b_name) {
    const std::size_t common = std::min(a_folder.size(), b_folder.size());
    if (a_folder.data() != b_folder.data()) {
        const int order = a_folder.substr(0, common).compare(b_folder.substr(0, common));
        if (order != 0) return order;
    }
    if (a_folder.size() < b_folder.size()) return a_name.compare(b_folder.substr(common));
    if (a_folder.size() > b_folder.size()) return a_folder.substr(common).compare(b_name);
    return a_name.compare(b_name);
}

}  // namespace

// Of stored texts that fold alike, that one comes first which has the first uppercase letter that
// the other has not: uppercase letters come before lowercase ones.
int Shard::compare_stored(const Shard& a, std::string_view a_folded, const Shard& b,
                          std::string_view b_folded) {
    const auto uppercase = [](const Shard& shard, const char* at) {
        return bits_at(shard.uppercase_, static_cast<std::size_t>(at - shard.texts_)) & 1;
    };
    for (std::size_t i = 0; i < a_folded.size(); ++i) {
        const unsigned of_a = uppercase(a, a_folded.data() + i);
        const unsigned of_b = uppercase(b, b_folded.data() + i);
        if (of_a != of_b) return of_a != 0 ? -1 : 1;
    }
    return 0;
}

bool orders_before(EntryRef a, EntryRef b) {
    const std::string_view a_folder = a.shard->folded_folder(a.shard->run_of(a.number));
    const std::string_view b_folder = b.shard->folded_folder(b.shard->run_of(b.number));
    const std::string_view a_name = a.shard->folded_name(a.number);
    const std::string_view b_name = b.shard->folded_name(b.number);
    int order = compare_folded(a_folder, a_name, b_folder, b_name);
    if (order == 0) order = Shard::compare_stored(*a.shard, a_folder, *b.shard, b_folder);
    if (order == 0) order = Shard::compare_stored(*a.shard, a_name, *b.shard, b_name);
    return order < 0;
}

}  // namespace system_search
