#include "platform/foundation/NSPredicate.h"

#include <mutex>
#include <unordered_map>

#include "platform/foundation/PredicateFormat.h"

namespace zun {

namespace {

// Formats are literals in the program; the bounds only keep a program that builds them from growing.
constexpr std::size_t maximumFormats = 256;
constexpr std::size_t maximumShapes = 16;

char shapeOf(const NSPredicate::Argument& argument) {
    if (std::holds_alternative<std::nullptr_t>(argument)) return 'n';
    if (const bool* flag = std::get_if<bool>(&argument)) return *flag ? '1' : '0';
    return '?';
}

// A format, and its SQL for each shape of arguments that it was used with.
struct Parsed {
    PredicateFormat format;
    std::unordered_map<std::string, std::shared_ptr<const PredicateSQL>> sqlByShape;
};

class Cache {
  public:
    struct Found {
        std::shared_ptr<const PredicateSQL> sql;
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
            auto format = PredicateFormat::parse(text);
            if (!format) return std::nullopt;
            if (_parsed.size() >= maximumFormats) _parsed.clear();
            at = _parsed.emplace(key, std::make_shared<Parsed>(Parsed{*std::move(format), {}})).first;
        }
        Parsed& parsed = *at->second;
        if (parsed.format.argumentCount != arguments.size()) return std::nullopt;
        return Found{sqlFor(parsed, shape), {at->second, &parsed.format.attributes}};
    }

  private:
    static std::shared_ptr<const PredicateSQL> sqlFor(Parsed& parsed, const std::string& shape) {
        if (const auto found = parsed.sqlByShape.find(shape); found != parsed.sqlByShape.end()) return found->second;
        if (parsed.sqlByShape.size() >= maximumShapes) parsed.sqlByShape.clear();
        auto sql = std::make_shared<const PredicateSQL>(predicateSQL(parsed.format, shape));
        return parsed.sqlByShape.emplace(shape, std::move(sql)).first->second;
    }

    std::mutex _mutex;
    std::unordered_map<std::string, std::shared_ptr<Parsed>> _parsed;
};

}  // namespace

std::optional<NSPredicate> NSPredicate::predicateWithFormat(std::string_view format, std::vector<Argument> arguments) {
    static Cache cache;
    auto found = cache.find(format, arguments);
    if (!found) return std::nullopt;
    NSPredicate predicate;
    predicate._arguments.reserve(found->sql->arguments.size());
    for (const std::size_t index : found->sql->arguments)
        predicate._arguments.push_back(arguments[index]);
    predicate._sql = {found->sql, &found->sql->text};
    predicate._attributes = std::move(found->attributes);
    return predicate;
}

}  // namespace zun
