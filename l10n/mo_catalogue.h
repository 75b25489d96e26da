#pragma once

#include <map>
#include <optional>
#include <string>
#include <string_view>

#include "common/texts.h"
#include "plural_rule.h"

namespace torvel::l10n {

// A compiled gettext catalogue (.mo), read whole into memory: a few hundred texts, looked up by their key.
class MoCatalogue final : public Catalogue {
  public:
    // Absent when the bytes are not a catalogue or a table points outside them.
    static std::optional<MoCatalogue> parse(std::string_view bytes);
    static std::optional<MoCatalogue> load(const std::string& path);

    std::optional<std::string> text(std::string_view key) const override;
    std::optional<std::string> plural(std::string_view one, std::string_view other,
                                      long long n) const override;

  private:
    // Keyed by the singular msgid; a plural entry's value holds its forms separated by NUL.
    std::map<std::string, std::string, std::less<>> entries_;
    std::optional<PluralRule> rule_;
};

// A language's catalogue over Linux English: a text the first has not translated yet reads as the second has
// it, never as the bare key.
class FallbackCatalogue final : public Catalogue {
  public:
    FallbackCatalogue(const Catalogue* first, const Catalogue* second) : first_(first), second_(second) {}

    std::optional<std::string> text(std::string_view key) const override;
    std::optional<std::string> plural(std::string_view one, std::string_view other,
                                      long long n) const override;

  private:
    const Catalogue* first_;
    const Catalogue* second_;
};

// Marks every text so that a test can tell a translated text from one that escaped the catalogue.
class MarkedCatalogue final : public Catalogue {
  public:
    explicit MarkedCatalogue(const Catalogue* inner) : inner_(inner) {}
    static constexpr std::string_view open = "⟦";
    static constexpr std::string_view close = "⟧";

    std::optional<std::string> text(std::string_view key) const override;
    std::optional<std::string> plural(std::string_view one, std::string_view other,
                                      long long n) const override;

  private:
    const Catalogue* inner_;
};

}  // namespace torvel::l10n
