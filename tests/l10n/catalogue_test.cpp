#include <gtest/gtest.h>

#include <cstdint>
#include <map>
#include <string>

#include "common/texts.h"
#include "language.h"
#include "mo_catalogue.h"
#include "plural_rule.h"

namespace torvel::l10n {
namespace {

// A compiled catalogue as msgfmt lays it out: header, then the key and value tables, then the strings.
std::string moBytes(const std::map<std::string, std::string>& entries, bool bigEndian = false) {
    std::string out;
    const auto word = [&out, bigEndian](std::uint32_t value) {
        for (int i = 0; i < 4; ++i) {
            const int shift = bigEndian ? 8 * (3 - i) : 8 * i;
            out += static_cast<char>((value >> shift) & 0xFF);
        }
    };
    const auto count = static_cast<std::uint32_t>(entries.size());
    word(0x950412de);
    word(0);
    word(count);
    word(28);
    word(28 + 8 * count);
    word(0);
    word(0);
    std::uint32_t offset = 28 + 16 * count;
    std::string strings;
    for (const bool values : {false, true}) {
        for (const auto& [key, value] : entries) {
            const std::string& text = values ? value : key;
            word(static_cast<std::uint32_t>(text.size()));
            word(offset + static_cast<std::uint32_t>(strings.size()));
            strings += text + '\0';
        }
    }
    return out + strings;
}

const std::string frenchHeader = "Language: fr\nPlural-Forms: nplurals=2; plural=(n > 1);\n";

TEST(PluralRule, ChoosesTheFormOfEachLanguage) {
    const std::string slavic =
        "n%10==1 && n%100!=11 ? 0 : n%10>=2 && n%10<=4 && (n%100<10 || n%100>=20) ? 1 : 2";
    const struct {
        std::string expression;
        unsigned long n;
        unsigned long form;
    } cases[] = {
        {"(n != 1)", 1, 0}, {"(n != 1)", 0, 1}, {"(n > 1)", 0, 0}, {"(n > 1)", 1, 0}, {"(n > 1)", 2, 1},
        {"0", 7, 0},        {slavic, 1, 0},     {slavic, 11, 2},   {slavic, 22, 1},   {slavic, 25, 2},
        {"!(n==1)", 1, 0},  {"n / 0", 5, 0},    {"n % 0", 5, 0},
    };
    for (const auto& c : cases) {
        const auto rule = PluralRule::parse(c.expression);
        ASSERT_TRUE(rule) << c.expression;
        EXPECT_EQ(rule->index(c.n), c.form) << c.expression << " for " << c.n;
    }
    for (const char* broken : {"", "n !=", "(n > 1", "n ? 1", "x", "n 1"}) {
        EXPECT_FALSE(PluralRule::parse(broken)) << broken;
    }
    EXPECT_EQ(PluralRule::fromHeader(frenchHeader)->index(2), 1u);
    EXPECT_FALSE(PluralRule::fromHeader("Language: fr\n"));
}

TEST(MoCatalogue, LooksUpTextsAndPluralFormsInEitherByteOrder) {
    const std::map<std::string, std::string> entries = {
        {"", frenchHeader},
        {"Held at %1", "Maintenue à %1"},
        {std::string("%1 day") + '\0' + "%1 days", std::string("%1 jour") + '\0' + "%1 jours"},
    };
    for (const bool bigEndian : {false, true}) {
        const auto catalogue = MoCatalogue::parse(moBytes(entries, bigEndian));
        ASSERT_TRUE(catalogue);
        EXPECT_EQ(catalogue->text("Held at %1"), "Maintenue à %1");
        EXPECT_EQ(catalogue->text("%1 day"), "%1 jour");
        EXPECT_EQ(catalogue->text("Held"), std::nullopt);
        // French counts nothing and one alike.
        EXPECT_EQ(catalogue->plural("%1 day", "%1 days", 0), "%1 jour");
        EXPECT_EQ(catalogue->plural("%1 day", "%1 days", 2), "%1 jours");
        EXPECT_EQ(catalogue->plural("%1 week", "%1 weeks", 2), std::nullopt);
    }
    const std::string whole = moBytes(entries);
    EXPECT_FALSE(MoCatalogue::parse(whole.substr(0, whole.size() - 5))) << "a string past the end";
    EXPECT_FALSE(MoCatalogue::parse(whole.substr(0, 20))) << "a cut header";
    EXPECT_FALSE(MoCatalogue::parse("not a catalogue at all, long enough"));
}

TEST(MoCatalogue, InstalledItFillsPlaceholdersWhereTheTranslationPutsThem) {
    const auto catalogue = MoCatalogue::parse(moBytes({
        {"", frenchHeader},
        {"%1 of %2", "%2 : %1"},
        {std::string("%1 day") + '\0' + "%1 days", std::string("un jour") + '\0' + "%1 jours"},
    }));
    ASSERT_TRUE(catalogue);
    const MarkedCatalogue marked(&*catalogue);
    installCatalogue(&*catalogue);
    EXPECT_EQ(tr("%1 of %2", {"a", "b"}), "b : a");
    EXPECT_EQ(trn("%1 day", "%1 days", 1, {"1"}), "un jour");
    EXPECT_EQ(trn("%1 day", "%1 days", 3, {"3"}), "3 jours");
    EXPECT_EQ(tr("Not in it"), "Not in it");
    installCatalogue(&marked);
    EXPECT_EQ(tr("%1 of %2", {"a", "b"}), "⟦b : a⟧");
    EXPECT_EQ(trn("%1 week", "%1 weeks", 2, {"2"}), "⟦2 weeks⟧");
    installCatalogue(nullptr);
    EXPECT_EQ(trn("%1 day", "%1 days", 1, {"1"}), "1 day");
}

TEST(Language, FollowsTheEnvironmentAsGettextReadsIt) {
    using Env = std::map<std::string, std::string>;
    const struct {
        Env env;
        std::optional<std::string> override;
        std::vector<std::string> wanted;
    } cases[] = {
        {{{"LANG", "de_DE.UTF-8"}}, {}, {"de_DE", "de"}},
        {{{"LANG", "de_DE.UTF-8"}, {"LC_MESSAGES", "fr_CA.UTF-8@euro"}}, {}, {"fr_CA", "fr"}},
        {{{"LC_ALL", "fr_FR.UTF-8"}, {"LC_MESSAGES", "de_DE"}}, {}, {"fr_FR", "fr"}},
        {{{"LANG", "en_GB.UTF-8"}, {"LANGUAGE", "fr:de_AT"}}, {}, {"fr", "de_AT", "de", "en_GB", "en"}},
        // LANGUAGE counts for nothing under the C locale, as in every gettext program.
        {{{"LANG", "C.UTF-8"}, {"LANGUAGE", "fr"}}, {}, {}},
        {{{"LC_ALL", "POSIX"}}, {}, {}},
        {{}, {}, {}},
        {{{"LANG", "fr_FR.UTF-8"}}, "de", {"de", "fr_FR", "fr"}},
    };
    for (const auto& c : cases) {
        const auto environment = [&c](const char* name) -> std::optional<std::string> {
            const auto found = c.env.find(name);
            return found == c.env.end() ? std::nullopt : std::optional(found->second);
        };
        EXPECT_EQ(wantedLanguages(environment, c.override), c.wanted);
    }
    const auto onlyGerman = [](const std::string& id) { return id == "de"; };
    EXPECT_EQ(chooseLanguage({"de_AT", "de"}, onlyGerman), "de");
    EXPECT_EQ(chooseLanguage({"ja_JP", "ja"}, onlyGerman), "en") << "Linux English when nothing matches";
    EXPECT_EQ(chooseLanguage({"pseudo", "de"}, onlyGerman), "pseudo");
}

}  // namespace
}  // namespace torvel::l10n
