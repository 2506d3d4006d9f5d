#include "ZunDataModel/store/RecordMapping.h"

#include <charconv>
#include <cmath>

#include "ZunDataModel/SearchFolding.h"

namespace zun {

namespace {

std::string textFromOrdinals(const DayOrdinals& ordinals) {
    std::string text = "[";
    for (const int ordinal : ordinals) {
        if (text.size() > 1) text += ',';
        text += std::to_string(ordinal);
    }
    return text += ']';
}

DayOrdinals ordinalsFromText(std::string_view text) {
    DayOrdinals ordinals;
    const char* at = text.data();
    const char* const end = at + text.size();
    while (at != end) {
        int ordinal = 0;
        const auto [next, error] = std::from_chars(at, end, ordinal);
        if (error == std::errc{}) ordinals.push_back(ordinal);
        at = next == at ? at + 1 : next;
    }
    return ordinals;
}

class Binder {
  public:
    Binder(PreparedStatement& statement, RecordScratch& scratch) : _statement(statement), _scratch(scratch) {}

    void next() { ++_index; }
    void operator()(const std::string& value) { _statement.bind(_index, std::string_view(value)); }
    void operator()(NSDate value) { _statement.bind(_index, value); }
    void operator()(std::uint64_t value) { _statement.bind(_index, static_cast<std::int64_t>(value)); }
    void operator()(std::int64_t value) { _statement.bind(_index, value); }
    void operator()(double value) { _statement.bind(_index, value); }
    void operator()(bool value) { _statement.bind(_index, std::int64_t{value}); }
    void operator()(const Bytes& value) { _statement.bind(_index, value); }
    void operator()(const DayOrdinals& value) {
        _scratch.ordinals = textFromOrdinals(value);
        _statement.bind(_index, std::string_view(_scratch.ordinals));
    }
    template <typename T>
    void operator()(const std::optional<T>& value) {
        if (value)
            (*this)(*value);
        else
            _statement.bindNull(_index);
    }

  private:
    PreparedStatement& _statement;
    RecordScratch& _scratch;
    int _index = 0;
};

class Reader {
  public:
    explicit Reader(sqlite3_stmt* row) : _row(row) {}

    void next() { ++_column; }
    void operator()(std::string& value) const { assignText(value); }
    void operator()(NSDate& value) const {
        value = NSDate{std::chrono::microseconds{sqlite3_column_int64(_row, _column)}};
    }
    void operator()(std::uint64_t& value) const {
        value = static_cast<std::uint64_t>(sqlite3_column_int64(_row, _column));
    }
    void operator()(std::int64_t& value) const { value = sqlite3_column_int64(_row, _column); }
    void operator()(double& value) const { value = sqlite3_column_double(_row, _column); }
    void operator()(bool& value) const { value = sqlite3_column_int(_row, _column) != 0; }
    void operator()(Bytes& value) const {
        const auto* const data = static_cast<const std::uint8_t*>(sqlite3_column_blob(_row, _column));
        if (data) value.assign(data, data + sqlite3_column_bytes(_row, _column));
    }
    void operator()(DayOrdinals& value) const {
        std::string text;
        assignText(text);
        value = ordinalsFromText(text);
    }
    template <typename T>
    void operator()(std::optional<T>& value) const {
        if (sqlite3_column_type(_row, _column) != SQLITE_NULL) (*this)(value.emplace());
    }

  private:
    void assignText(std::string& value) const {
        const auto* const data = reinterpret_cast<const char*>(sqlite3_column_text(_row, _column));
        if (data) value.assign(data, static_cast<std::size_t>(sqlite3_column_bytes(_row, _column)));
    }

    sqlite3_stmt* _row;
    int _column = -1;
};

}  // namespace

const std::string& recordColumns() {
    static const std::string columns = [] {
        std::string list;
        for (const auto& attribute : reminderAttributes()) {
            if (!list.empty()) list += ", ";
            list += attribute.name;
        }
        return list;
    }();
    return columns;
}

void makeStorable(ReminderAttributes& attributes) {
    const auto repairText = [](std::string& text) {
        if (!isValidUTF8(text)) text = repairedUTF8(text);
    };
    for (const auto& attribute : reminderAttributes()) {
        if (const auto* text = std::get_if<std::string ReminderAttributes::*>(&attribute.member)) {
            repairText(attributes.**text);
        } else if (const auto* optional =
                       std::get_if<std::optional<std::string> ReminderAttributes::*>(&attribute.member)) {
            if (attributes.**optional) repairText(*(attributes.**optional));
        } else if (const auto* number = std::get_if<double ReminderAttributes::*>(&attribute.member)) {
            if (std::isnan(attributes.**number)) attributes.** number = 0;
        }
    }
}

void bindRecord(PreparedStatement& statement, const ReminderAttributes& attributes, RecordScratch& scratch) {
    Binder binder(statement, scratch);
    for (const auto& attribute : reminderAttributes()) {
        binder.next();
        std::visit([&](auto member) { binder(attributes.*member); }, attribute.member);
    }
    scratch.foldedTitle = foldedForSearch(attributes.title);
    statement.bind(static_cast<int>(reminderAttributes().size()) + 1, std::string_view(scratch.foldedTitle));
}

ReminderAttributes readRecord(const PreparedStatement& row) {
    ReminderAttributes attributes;
    Reader reader(row.handle());
    for (const auto& attribute : reminderAttributes()) {
        reader.next();
        std::visit([&](auto member) { reader(attributes.*member); }, attribute.member);
    }
    return attributes;
}

}  // namespace zun
