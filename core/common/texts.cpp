#include "common/texts.h"

#include <atomic>

#include "common/sentence.h"

namespace torvel {
namespace {

std::atomic<const Catalogue*> installed{nullptr};

}  // namespace

void installCatalogue(const Catalogue* catalogue) {
    installed.store(catalogue);
}

std::string tr(std::string_view key) {
    if (const Catalogue* catalogue = installed.load()) {
        if (auto text = catalogue->text(key)) return std::move(*text);
    }
    return std::string(key);
}

std::string trn(std::string_view one, std::string_view other, long long n) {
    if (const Catalogue* catalogue = installed.load()) {
        if (auto text = catalogue->plural(one, other, n)) return std::move(*text);
    }
    return std::string(n == 1 ? one : other);
}

std::string tr(std::string_view key, std::initializer_list<std::string_view> values) {
    return fillSentence(tr(key), values);
}

std::string trn(std::string_view one, std::string_view other, long long n,
                std::initializer_list<std::string_view> values) {
    return fillSentence(trn(one, other, n), values);
}

}  // namespace torvel
