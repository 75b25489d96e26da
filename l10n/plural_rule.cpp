#include "plural_rule.h"

#include <cctype>

namespace torvel::l10n {

// A number, n, or an operator over one to three operands.
struct PluralRule::Node {
    enum class Kind { number, n, op } kind = Kind::number;
    unsigned long value = 0;
    std::string_view op;
    std::shared_ptr<const Node> a, b, c;
};

namespace {

using Node = PluralRule::Node;
using NodePtr = std::shared_ptr<const Node>;

NodePtr make(std::string_view op, NodePtr a, NodePtr b = nullptr, NodePtr c = nullptr) {
    if (!a || (op != "!" && !b) || (op == "?" && !c)) return nullptr;
    auto node = std::make_shared<Node>();
    node->kind = Node::Kind::op;
    node->op = op;
    node->a = std::move(a);
    node->b = std::move(b);
    node->c = std::move(c);
    return node;
}

NodePtr leaf(Node::Kind kind, unsigned long value = 0) {
    auto node = std::make_shared<Node>();
    node->kind = kind;
    node->value = value;
    return node;
}

// Recursive descent with C's precedence; gettext's rules use nothing beyond these operators.
class Parser {
  public:
    explicit Parser(std::string_view text) : text_(text) {}

    NodePtr whole() {
        NodePtr node = ternary();
        skipSpace();
        return pos_ == text_.size() ? node : nullptr;
    }

  private:
    static constexpr std::string_view levels[][4] = {
        {"||"}, {"&&"}, {"==", "!="}, {"<=", ">=", "<", ">"}, {"+", "-"}, {"*", "/", "%"}};

    NodePtr ternary() {
        NodePtr condition = binary(0);
        if (!accept("?")) return condition;
        NodePtr yes = ternary();
        if (!accept(":")) return nullptr;
        return make("?", condition, yes, ternary());
    }

    NodePtr binary(std::size_t level) {
        if (level == std::size(levels)) return unary();
        NodePtr left = binary(level + 1);
        for (;;) {
            std::string_view matched;
            for (std::string_view op : levels[level]) {
                if (!op.empty() && accept(op)) {
                    matched = op;
                    break;
                }
            }
            if (matched.empty() || !left) return left;
            left = make(matched, left, binary(level + 1));
        }
    }

    NodePtr unary() {
        if (accept("!")) return make("!", unary());
        if (accept("(")) {
            NodePtr inner = ternary();
            return accept(")") ? inner : nullptr;
        }
        skipSpace();
        if (accept("n")) return leaf(Node::Kind::n);
        if (pos_ >= text_.size() || !std::isdigit(static_cast<unsigned char>(text_[pos_]))) return nullptr;
        unsigned long value = 0;
        while (pos_ < text_.size() && std::isdigit(static_cast<unsigned char>(text_[pos_]))) {
            value = value * 10 + static_cast<unsigned long>(text_[pos_++] - '0');
        }
        return leaf(Node::Kind::number, value);
    }

    bool accept(std::string_view token) {
        skipSpace();
        if (!text_.substr(pos_).starts_with(token)) return false;
        // "!" must not swallow the start of "!=", nor "<" that of "<=".
        const std::string_view rest = text_.substr(pos_ + token.size());
        if ((token == "!" || token == "<" || token == ">") && rest.starts_with("=")) return false;
        pos_ += token.size();
        return true;
    }

    void skipSpace() {
        while (pos_ < text_.size() && std::isspace(static_cast<unsigned char>(text_[pos_]))) ++pos_;
    }

    std::string_view text_;
    std::size_t pos_ = 0;
};

unsigned long evaluate(const Node& node, unsigned long n) {
    if (node.kind == Node::Kind::number) return node.value;
    if (node.kind == Node::Kind::n) return n;
    const std::string_view op = node.op;
    const unsigned long a = evaluate(*node.a, n);
    if (op == "!") return a == 0 ? 1 : 0;
    if (op == "?") return a != 0 ? evaluate(*node.b, n) : evaluate(*node.c, n);
    if (op == "&&") return a != 0 && evaluate(*node.b, n) != 0 ? 1 : 0;
    if (op == "||") return a != 0 || evaluate(*node.b, n) != 0 ? 1 : 0;
    const unsigned long b = evaluate(*node.b, n);
    if (op == "==") return a == b ? 1 : 0;
    if (op == "!=") return a != b ? 1 : 0;
    if (op == "<") return a < b ? 1 : 0;
    if (op == ">") return a > b ? 1 : 0;
    if (op == "<=") return a <= b ? 1 : 0;
    if (op == ">=") return a >= b ? 1 : 0;
    if (op == "+") return a + b;
    if (op == "-") return a - b;
    if (op == "*") return a * b;
    // A catalogue dividing by zero is broken, not a reason to crash: it picks the first form.
    if (op == "/") return b == 0 ? 0 : a / b;
    if (op == "%") return b == 0 ? 0 : a % b;
    return 0;
}

}  // namespace

std::optional<PluralRule> PluralRule::parse(std::string_view expression) {
    NodePtr root = Parser(expression).whole();
    if (!root) return std::nullopt;
    PluralRule rule;
    rule.root_ = std::move(root);
    return rule;
}

std::optional<PluralRule> PluralRule::fromHeader(std::string_view header) {
    const auto line = header.find("Plural-Forms:");
    if (line == std::string_view::npos) return std::nullopt;
    const auto start = header.find("plural=", line);
    if (start == std::string_view::npos) return std::nullopt;
    const auto end = header.find_first_of(";\n", start);
    const std::size_t from = start + std::string_view("plural=").size();
    return parse(header.substr(from, end == std::string_view::npos ? std::string_view::npos : end - from));
}

unsigned long PluralRule::index(unsigned long n) const {
    return evaluate(*root_, n);
}

}  // namespace torvel::l10n
