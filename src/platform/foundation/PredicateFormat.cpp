#include "platform/foundation/PredicateFormat.h"

#include <algorithm>
#include <charconv>
#include <cmath>
#include <utility>

namespace zun {

namespace {

using Operator = PredicateFormat::Operator;
using Node = PredicateFormat::Node;
using Operand = decltype(PredicateFormat::Comparison::operand);

// Far above any predicate in use; below what SQLite's own parser takes without complaint.
constexpr std::size_t maximumLength = 8192;
constexpr std::size_t maximumComparisons = 200;
constexpr int maximumDepth = 50;

bool isSpace(char c) {
    return c == ' ' || c == '\t' || c == '\n' || c == '\r';
}
bool isDigit(char c) {
    return c >= '0' && c <= '9';
}
bool isWordStart(char c) {
    return (c >= 'A' && c <= 'Z') || (c >= 'a' && c <= 'z') || c == '_';
}
bool isWord(char c) {
    return isWordStart(c) || isDigit(c);
}

// expression = conjunction { OR conjunction }; conjunction = primary { AND primary };
// primary = "(" expression ")" | attribute operator operand.
class Parser {
  public:
    explicit Parser(std::string_view text) : _rest(text) {}

    std::optional<PredicateFormat> parse() {
        if (_rest.size() > maximumLength) return std::nullopt;
        auto root = parseExpression(0);
        skipSpace();
        if (!root || !_rest.empty()) return std::nullopt;
        _format.root = *std::move(root);
        return std::move(_format);
    }

  private:
    std::optional<Node> parseExpression(int depth) {
        return parseList("OR", Node::Kind::Or,
                         [&] { return parseList("AND", Node::Kind::And, [&] { return parsePrimary(depth); }); });
    }

    // item { keyword item }; a single item stands for itself.
    template <typename Item>
    std::optional<Node> parseList(std::string_view keyword, Node::Kind kind, Item item) {
        auto first = item();
        if (!first || !takeKeyword(keyword)) return first;
        Node list{kind, {}, {}};
        list.children.push_back(*std::move(first));
        do {
            auto next = item();
            if (!next) return std::nullopt;
            list.children.push_back(*std::move(next));
        } while (takeKeyword(keyword));
        return list;
    }

    std::optional<Node> parsePrimary(int depth) {
        if (!take("(")) return parseComparison();
        if (depth == maximumDepth) return std::nullopt;
        auto inner = parseExpression(depth + 1);
        if (!take(")")) return std::nullopt;
        return inner;
    }

    std::optional<Node> parseComparison() {
        if (++_comparisons > maximumComparisons) return std::nullopt;
        skipSpace();
        const std::string attribute(peekWord());
        if (attribute.empty()) return std::nullopt;
        _rest.remove_prefix(attribute.size());
        const auto op = takeOperator();
        if (!op) return std::nullopt;
        auto operand = takeOperand();
        if (!operand) return std::nullopt;
        if (std::ranges::find(_format.attributes, attribute) == _format.attributes.end())
            _format.attributes.push_back(attribute);
        return Node{Node::Kind::Comparison, {attribute, *op, *std::move(operand)}, {}};
    }

    std::optional<Operator> takeOperator() {
        static constexpr std::pair<std::string_view, Operator> operators[] = {
            {"==", Operator::Equal},   {"=", Operator::Equal}, {"!=", Operator::NotEqual}, {"<=", Operator::AtMost},
            {">=", Operator::AtLeast}, {"<", Operator::Less},  {">", Operator::Greater},
        };
        for (const auto& [text, op] : operators)
            if (take(text)) return op;
        return std::nullopt;
    }

    std::optional<Operand> takeOperand() {
        if (take("%@")) return PredicateFormat::Argument{_format.argumentCount++};
        skipSpace();
        if (peekWord() == "nil") {
            _rest.remove_prefix(3);
            return PredicateFormat::Nil{};
        }
        return takeNumber();
    }

    // Written out anew, so that what reaches SQL is a number whatever stood in the text.
    std::optional<Operand> takeNumber() {
        const char* const end = _rest.data() + _rest.size();
        if (_rest.empty() || !(isDigit(_rest[0]) || _rest[0] == '-' || _rest[0] == '.')) return std::nullopt;
        std::int64_t whole = 0;
        double real = 0;
        auto parsed = std::from_chars(_rest.data(), end, whole);
        const bool isWhole =
            parsed.ec == std::errc{} && (parsed.ptr == end || (*parsed.ptr != '.' && !isWord(*parsed.ptr)));
        if (!isWhole) parsed = std::from_chars(_rest.data(), end, real);
        if (parsed.ec != std::errc{} || !std::isfinite(real) || (parsed.ptr != end && isWord(*parsed.ptr)))
            return std::nullopt;
        _rest.remove_prefix(static_cast<std::size_t>(parsed.ptr - _rest.data()));

        char buffer[64];
        const auto written =
            isWhole ? std::to_chars(std::begin(buffer), std::end(buffer), whole)
                    : std::to_chars(std::begin(buffer), std::end(buffer), real, std::chars_format::scientific);
        return Operand{std::string(buffer, written.ptr)};
    }

    void skipSpace() {
        while (!_rest.empty() && isSpace(_rest.front()))
            _rest.remove_prefix(1);
    }

    bool take(std::string_view text) {
        skipSpace();
        if (!_rest.starts_with(text)) return false;
        _rest.remove_prefix(text.size());
        return true;
    }

    bool takeKeyword(std::string_view upper) {
        skipSpace();
        const std::string_view word = peekWord();
        const auto same = [](char a, char b) { return (a >= 'a' && a <= 'z' ? a - 'a' + 'A' : a) == b; };
        if (!std::ranges::equal(word, upper, same)) return false;
        _rest.remove_prefix(word.size());
        return true;
    }

    [[nodiscard]] std::string_view peekWord() const {
        if (_rest.empty() || !isWordStart(_rest.front())) return {};
        return _rest.substr(0, static_cast<std::size_t>(std::ranges::find_if_not(_rest, isWord) - _rest.begin()));
    }

    std::string_view _rest;
    std::size_t _comparisons = 0;
    PredicateFormat _format;
};

class Renderer {
  public:
    explicit Renderer(std::string_view shape) : _shape(shape) {}

    // Conditions are only distributed here and not further in, where each level would double the text.
    void renderRoot(const Node& root) {
        const auto choice = std::ranges::find_if(root.children, isUpToOrAbsent);
        if (root.kind == Node::Kind::And && choice != root.children.end())
            renderDistributed(root, *choice);
        else
            render(root);
    }

    PredicateSQL take() { return std::move(_sql); }

  private:
    // "date <= x OR date = nil": two stretches of an index, which SQLite only sees when each side carries all
    // conditions.
    static bool isUpToOrAbsent(const Node& node) {
        if (node.kind != Node::Kind::Or || node.children.size() != 2) return false;
        const auto isAbsent = [](const Node& side) {
            return side.kind == Node::Kind::Comparison && side.comparison.op == Operator::Equal &&
                   std::holds_alternative<PredicateFormat::Nil>(side.comparison.operand);
        };
        const auto isUpTo = [](const Node& side) {
            return side.kind == Node::Kind::Comparison &&
                   (side.comparison.op == Operator::AtMost || side.comparison.op == Operator::Less);
        };
        const Node& a = node.children[0];
        const Node& b = node.children[1];
        return ((isAbsent(a) && isUpTo(b)) || (isAbsent(b) && isUpTo(a))) &&
               a.comparison.attribute == b.comparison.attribute;
    }

    // (a OR b) AND rest = (a AND rest) OR (b AND rest).
    void renderDistributed(const Node& conjunction, const Node& choice) {
        _sql.text += '(';
        for (const Node& alternative : choice.children) {
            if (&alternative != &choice.children.front()) _sql.text += " OR ";
            _sql.text += '(';
            render(alternative);
            for (const Node& other : conjunction.children) {
                if (&other == &choice) continue;
                _sql.text += " AND ";
                render(other);
            }
            _sql.text += ')';
        }
        _sql.text += ')';
    }

    void render(const Node& node) {
        switch (node.kind) {
            case Node::Kind::Comparison:
                return renderComparison(node.comparison);
            case Node::Kind::And:
                return renderList(node.children, " AND ");
            case Node::Kind::Or:
                return renderList(node.children, " OR ");
        }
    }

    void renderList(const std::vector<Node>& nodes, std::string_view between) {
        _sql.text += '(';
        for (const Node& node : nodes) {
            if (&node != &nodes.front()) _sql.text += between;
            render(node);
        }
        _sql.text += ')';
    }

    void renderComparison(const PredicateFormat::Comparison& comparison) {
        std::string_view value;  // empty for nil
        if (const auto* number = std::get_if<std::string>(&comparison.operand)) value = *number;
        if (const auto* argument = std::get_if<PredicateFormat::Argument>(&comparison.operand)) {
            const std::string_view letter = _shape.substr(argument->index, 1);
            if (letter != "n") value = letter;
            if (letter == "?") _sql.arguments.push_back(argument->index);
        }
        _sql.text += comparison.attribute;
        _sql.text += spelling(comparison.op, value.empty());
        _sql.text += value;
    }

    static std::string_view spelling(Operator op, bool withNil) {
        switch (op) {
            case Operator::Equal:
                return withNil ? " IS NULL" : " = ";
            // An absent value differs from every value, which SQL's own <> denies.
            case Operator::NotEqual:
                return withNil ? " IS NOT NULL" : " IS NOT ";
            case Operator::AtMost:
                return withNil ? " <= NULL" : " <= ";
            case Operator::AtLeast:
                return withNil ? " >= NULL" : " >= ";
            case Operator::Less:
                return withNil ? " < NULL" : " < ";
            case Operator::Greater:
                return withNil ? " > NULL" : " > ";
        }
        return {};
    }

    std::string_view _shape;
    PredicateSQL _sql;
};

}  // namespace

std::optional<PredicateFormat> PredicateFormat::parse(std::string_view text) {
    return Parser(text).parse();
}

PredicateSQL predicateSQL(const PredicateFormat& format, std::string_view shape) {
    Renderer renderer(shape);
    renderer.renderRoot(format.root);
    return renderer.take();
}

}  // namespace zun
