#include "platform/foundation/NSPredicate.h"

#include <algorithm>
#include <charconv>
#include <cmath>
#include <mutex>
#include <unordered_map>

namespace zun {

namespace {

// Far above any predicate in use; below what SQLite's own parser takes without complaint.
constexpr std::size_t maximumLength = 8192;
constexpr std::size_t maximumComparisons = 200;
constexpr int maximumDepth = 50;
// Formats are literals in the program; the bound only keeps a program that builds them from growing.
constexpr std::size_t maximumCached = 256;

enum class Operator { Equal, NotEqual, AtMost, AtLeast, Less, Greater };

struct NilOperand {};
struct ArgumentOperand {};
using Operand = std::variant<NilOperand, ArgumentOperand, std::string>;  // a string is a number as SQL

struct Comparison {
    std::string attribute;
    Operator op;
    Operand operand;
};

using Piece = std::variant<std::string, Comparison>;  // a string is SQL to be copied: a bracket, AND, OR

struct Format {
    std::vector<Piece> pieces;
    std::vector<std::string> attributes;
    std::size_t argumentCount = 0;
};

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

    std::optional<Format> parse() {
        if (_rest.size() > maximumLength || !parseExpression(0)) return std::nullopt;
        skipSpace();
        if (!_rest.empty()) return std::nullopt;
        return std::move(_format);
    }

  private:
    bool parseExpression(int depth) {
        if (!parseConjunction(depth)) return false;
        while (takeKeyword("OR")) {
            _format.pieces.emplace_back(" OR ");
            if (!parseConjunction(depth)) return false;
        }
        return true;
    }

    bool parseConjunction(int depth) {
        if (!parsePrimary(depth)) return false;
        while (takeKeyword("AND")) {
            _format.pieces.emplace_back(" AND ");
            if (!parsePrimary(depth)) return false;
        }
        return true;
    }

    bool parsePrimary(int depth) {
        if (!take("(")) return parseComparison();
        if (depth == maximumDepth) return false;
        _format.pieces.emplace_back("(");
        if (!parseExpression(depth + 1) || !take(")")) return false;
        _format.pieces.emplace_back(")");
        return true;
    }

    bool parseComparison() {
        if (++_comparisons > maximumComparisons) return false;
        skipSpace();
        const std::string_view attribute = peekWord();
        if (attribute.empty()) return false;
        _rest.remove_prefix(attribute.size());
        const auto op = takeOperator();
        if (!op) return false;
        auto operand = takeOperand();
        if (!operand) return false;
        Comparison comparison{std::string(attribute), *op, *std::move(operand)};
        if (std::ranges::find(_format.attributes, comparison.attribute) == _format.attributes.end())
            _format.attributes.push_back(comparison.attribute);
        _format.pieces.emplace_back(std::move(comparison));
        return true;
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
        if (take("%@")) {
            ++_format.argumentCount;
            return ArgumentOperand{};
        }
        skipSpace();
        if (peekWord() == "nil") {
            _rest.remove_prefix(3);
            return NilOperand{};
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
    Format _format;
};

// What an argument means for the SQL: nil changes the operator. Booleans are written out, because a partial index is
// only considered for a query that carries the very constant of the index.
char shapeOf(const NSPredicate::Argument& argument) {
    if (std::holds_alternative<std::nullptr_t>(argument)) return 'n';
    if (const bool* flag = std::get_if<bool>(&argument)) return *flag ? '1' : '0';
    return '?';
}

void appendComparison(std::string& sql, const Comparison& comparison, std::string_view value) {
    const bool isNil = value.empty();
    sql += comparison.attribute;
    switch (comparison.op) {
        case Operator::Equal:
            sql += isNil ? " IS NULL" : " = ";
            break;
        // An absent value differs from every value, which SQL's own <> denies.
        case Operator::NotEqual:
            sql += isNil ? " IS NOT NULL" : " IS NOT ";
            break;
        case Operator::AtMost:
            sql += isNil ? " <= NULL" : " <= ";
            break;
        case Operator::AtLeast:
            sql += isNil ? " >= NULL" : " >= ";
            break;
        case Operator::Less:
            sql += isNil ? " < NULL" : " < ";
            break;
        case Operator::Greater:
            sql += isNil ? " > NULL" : " > ";
            break;
    }
    sql += value;
}

std::string renderSQL(const Format& format, std::string_view shape) {
    std::string sql;
    std::size_t next = 0;
    for (const Piece& piece : format.pieces) {
        if (const auto* text = std::get_if<std::string>(&piece)) {
            sql += *text;
            continue;
        }
        const auto& comparison = std::get<Comparison>(piece);
        std::string_view value;
        if (const auto* number = std::get_if<std::string>(&comparison.operand)) value = *number;
        if (std::holds_alternative<ArgumentOperand>(comparison.operand)) {
            value = shape.substr(next++, 1);
            if (value == "n") value = {};
        }
        appendComparison(sql, comparison, value);
    }
    return sql;
}

struct Parsed {
    Format format;
    std::unordered_map<std::string, std::shared_ptr<const std::string>> sqlByShape;
};

class Cache {
  public:
    struct Found {
        std::shared_ptr<const std::string> sql;
        std::shared_ptr<const std::vector<std::string>> attributes;
    };

    std::optional<Found> find(std::string_view text, const std::vector<NSPredicate::Argument>& arguments) {
        thread_local std::string key;
        thread_local std::string shape;
        key = text;
        shape.clear();
        for (const auto& argument : arguments)
            shape.push_back(shapeOf(argument));

        const std::lock_guard lock(_mutex);
        auto at = _parsed.find(key);
        if (at == _parsed.end()) {
            auto format = Parser(text).parse();
            if (!format) return std::nullopt;
            if (_parsed.size() >= maximumCached) _parsed.clear();
            at = _parsed.emplace(key, std::make_shared<Parsed>(Parsed{*std::move(format), {}})).first;
        }
        Parsed& parsed = *at->second;
        if (parsed.format.argumentCount != arguments.size()) return std::nullopt;
        if (parsed.sqlByShape.size() >= maximumCached) parsed.sqlByShape.clear();
        auto& sql = parsed.sqlByShape[shape];
        if (!sql) sql = std::make_shared<const std::string>(renderSQL(parsed.format, shape));
        return Found{sql, {at->second, &parsed.format.attributes}};
    }

  private:
    std::mutex _mutex;
    std::unordered_map<std::string, std::shared_ptr<Parsed>> _parsed;
};

}  // namespace

std::optional<NSPredicate> NSPredicate::predicateWithFormat(std::string_view format, std::vector<Argument> arguments) {
    static Cache cache;
    auto found = cache.find(format, arguments);
    if (!found) return std::nullopt;
    NSPredicate predicate;
    predicate._sql = std::move(found->sql);
    predicate._attributes = std::move(found->attributes);
    std::erase_if(arguments, [](const Argument& argument) { return shapeOf(argument) != '?'; });
    predicate._arguments = std::move(arguments);
    return predicate;
}

}  // namespace zun
