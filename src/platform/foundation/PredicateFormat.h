#pragma once

// The parsed text of a predicate, and its form as SQL. Pure; any thread.

#include <cstddef>
#include <optional>
#include <string>
#include <string_view>
#include <variant>
#include <vector>

namespace zun {

struct PredicateFormat {
    enum class Operator { Equal, NotEqual, AtMost, AtLeast, Less, Greater };
    struct Nil {};
    struct Argument {
        std::size_t index;  // from 0, in the order of the text
    };
    struct Comparison {
        std::string attribute;
        Operator op;
        std::variant<Nil, Argument, std::string> operand;  // a string is a number in SQL's spelling
    };
    struct Node {
        enum class Kind { Comparison, And, Or };
        Kind kind;
        Comparison comparison;       // of that kind only
        std::vector<Node> children;  // of the other two, at least two
    };

    Node root;
    std::vector<std::string> attributes;  // each once
    std::size_t argumentCount = 0;

    // Empty if the text is malformed, too long, too deep or has too many comparisons.
    [[nodiscard]] static std::optional<PredicateFormat> parse(std::string_view text);
};

struct PredicateSQL {
    std::string text;
    std::vector<std::size_t> arguments;  // for each "?" the argument that it stands for
};

// `shape` has a letter for each argument: 'n' for nil, '0' and '1' for booleans, '?' for all others. Nil changes the
// operator; booleans are written out, because a partial index is only considered for a query that carries the very
// constant of the index.
[[nodiscard]] PredicateSQL predicateSQL(const PredicateFormat& format, std::string_view shape);

}  // namespace zun
