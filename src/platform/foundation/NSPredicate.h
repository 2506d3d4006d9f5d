#pragma once

// Predicates over the attributes of a record, parsed once into SQL with bound arguments. Operators: = == != <= >= > AND
// OR, brackets, the literal nil, %@ arguments, numbers. Comparing with a null argument means comparing with nil.

#include <cstdint>
#include <memory>
#include <optional>
#include <string>
#include <string_view>
#include <variant>
#include <vector>

#include "platform/foundation/NSDate.h"

namespace zun {

class NSPredicate {
  public:
    using Argument = std::variant<std::nullptr_t, bool, std::int64_t, double, std::string, NSDate>;

    // Parses the format; the result is cached by its text, so a predicate in a hot path costs no parse. Empty if the
    // format is malformed, names an attribute outside `[A-Za-z_][A-Za-z0-9_]*`, or has another number of %@ than there
    // are arguments.
    [[nodiscard]] static std::optional<NSPredicate> predicateWithFormat(std::string_view format,
                                                                        std::vector<Argument> arguments = {});

    // A WHERE expression with one "?" for each of boundArguments(), in order.
    [[nodiscard]] const std::string& sql() const { return *_sql; }
    [[nodiscard]] const std::vector<Argument>& boundArguments() const { return _arguments; }
    // Every attribute that the expression names, each once.
    [[nodiscard]] const std::vector<std::string>& attributes() const { return *_attributes; }

  private:
    std::shared_ptr<const std::string> _sql;
    std::shared_ptr<const std::vector<std::string>> _attributes;
    std::vector<Argument> _arguments;
};

struct NSSortDescriptor {
    std::string key;
    bool ascending;
};

}  // namespace zun
