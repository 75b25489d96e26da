#pragma once

#include <initializer_list>
#include <optional>
#include <string>
#include <string_view>

namespace torvel {

// Where a text's translation comes from. The key of every text is the product's own English, so a catalogue
// that lacks a key leaves that English in place. A front end installs one catalogue at start
// (installCatalogue) before any text is built; core only ever looks up through tr() and trn().
class Catalogue {
  public:
    virtual ~Catalogue() = default;
    virtual std::optional<std::string> text(std::string_view key) const = 0;
    // The form of one/other that the catalogue's language uses for n.
    virtual std::optional<std::string> plural(std::string_view one, std::string_view other,
                                              long long n) const = 0;
};

// The catalogue stays the caller's and must outlive every look-up; nullptr goes back to the keys as they
// stand.
void installCatalogue(const Catalogue* catalogue);

// A key kept in a table and translated where it is shown: marks it for extraction and nothing else.
constexpr std::string_view trNoop(std::string_view key) {
    return key;
}

std::string tr(std::string_view key);
std::string trn(std::string_view one, std::string_view other, long long n);

// With placeholders: %1 to %9 are the values in order, wherever the translation puts them.
std::string tr(std::string_view key, std::initializer_list<std::string_view> values);
std::string trn(std::string_view one, std::string_view other, long long n,
                std::initializer_list<std::string_view> values);

}  // namespace torvel
