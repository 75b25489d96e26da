#include "mo_catalogue.h"

#include <cstdint>

#include "common/files.h"

namespace torvel::l10n {
namespace {

constexpr std::uint32_t magic = 0x950412de;
constexpr std::uint32_t swappedMagic = 0xde120495;

class Reader {
  public:
    Reader(std::string_view bytes, bool swapped) : bytes_(bytes), swapped_(swapped) {}

    std::optional<std::uint32_t> word(std::size_t offset) const {
        if (offset > bytes_.size() || bytes_.size() - offset < 4) return std::nullopt;
        std::uint32_t value = 0;
        for (int i = 0; i < 4; ++i) {
            const auto byte = static_cast<std::uint32_t>(static_cast<unsigned char>(bytes_[offset + i]));
            value |= swapped_ ? byte << (8 * (3 - i)) : byte << (8 * i);
        }
        return value;
    }

    // The string a (length, offset) descriptor at `at` points to.
    std::optional<std::string_view> string(std::size_t at) const {
        const auto length = word(at);
        const auto offset = word(at + 4);
        if (!length || !offset || *offset > bytes_.size() || bytes_.size() - *offset < *length) {
            return std::nullopt;
        }
        return bytes_.substr(*offset, *length);
    }

  private:
    std::string_view bytes_;
    bool swapped_;
};

}  // namespace

std::optional<MoCatalogue> MoCatalogue::parse(std::string_view bytes) {
    const auto first = Reader(bytes, false).word(0);
    if (!first || (*first != magic && *first != swappedMagic)) return std::nullopt;
    const Reader reader(bytes, *first == swappedMagic);
    const auto count = reader.word(8);
    const auto originals = reader.word(12);
    const auto translations = reader.word(16);
    if (!count || !originals || !translations || *count > bytes.size() / 8) return std::nullopt;
    MoCatalogue catalogue;
    for (std::uint32_t i = 0; i < *count; ++i) {
        const auto key = reader.string(std::size_t{*originals} + 8 * std::size_t{i});
        const auto value = reader.string(std::size_t{*translations} + 8 * std::size_t{i});
        if (!key || !value) return std::nullopt;
        if (key->empty()) {
            catalogue.rule_ = PluralRule::fromHeader(*value);
            continue;
        }
        catalogue.entries_.emplace(key->substr(0, key->find('\0')), *value);
    }
    return catalogue;
}

std::optional<MoCatalogue> MoCatalogue::load(const std::string& path) {
    const auto bytes = readWholeFile(path);
    if (const auto* text = std::get_if<std::string>(&bytes)) return parse(*text);
    return std::nullopt;
}

std::optional<std::string> MoCatalogue::text(std::string_view key) const {
    const auto found = entries_.find(key);
    if (found == entries_.end()) return std::nullopt;
    return found->second.substr(0, found->second.find('\0'));
}

std::optional<std::string> MoCatalogue::plural(std::string_view one, std::string_view, long long n) const {
    const auto found = entries_.find(one);
    if (found == entries_.end()) return std::nullopt;
    const auto count = static_cast<unsigned long>(n < 0 ? -n : n);
    unsigned long index = rule_ ? rule_->index(count) : (count != 1 ? 1 : 0);
    std::string_view forms = found->second;
    for (; index > 0; --index) {
        const auto end = forms.find('\0');
        // A rule that names a form the entry lacks gets the last one rather than nothing.
        if (end == std::string_view::npos) break;
        forms.remove_prefix(end + 1);
    }
    return std::string(forms.substr(0, forms.find('\0')));
}

std::optional<std::string> FallbackCatalogue::text(std::string_view key) const {
    if (auto found = first_ ? first_->text(key) : std::nullopt) return found;
    return second_ ? second_->text(key) : std::nullopt;
}

std::optional<std::string> FallbackCatalogue::plural(std::string_view one, std::string_view other,
                                                     long long n) const {
    if (auto found = first_ ? first_->plural(one, other, n) : std::nullopt) return found;
    return second_ ? second_->plural(one, other, n) : std::nullopt;
}

std::optional<std::string> MarkedCatalogue::text(std::string_view key) const {
    const auto inner = inner_ ? inner_->text(key) : std::nullopt;
    return std::string(open) + (inner ? *inner : std::string(key)) + std::string(close);
}

std::optional<std::string> MarkedCatalogue::plural(std::string_view one, std::string_view other,
                                                   long long n) const {
    auto inner = inner_ ? inner_->plural(one, other, n) : std::nullopt;
    if (!inner) inner = std::string(n == 1 ? one : other);
    return std::string(open) + *inner + std::string(close);
}

}  // namespace torvel::l10n
