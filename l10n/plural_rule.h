#pragma once

#include <memory>
#include <optional>
#include <string_view>

namespace torvel::l10n {

// The "plural=" expression of a catalogue's Plural-Forms header (a C expression over n), parsed once and
// evaluated per look-up. A rule that does not parse is absent, and the catalogue falls back to n != 1.
class PluralRule {
  public:
    struct Node;
    static std::optional<PluralRule> parse(std::string_view expression);
    // From the whole header entry: "...Plural-Forms: nplurals=2; plural=(n > 1);\n...".
    static std::optional<PluralRule> fromHeader(std::string_view header);

    unsigned long index(unsigned long n) const;

  private:
    std::shared_ptr<const Node> root_;
};

}  // namespace torvel::l10n
