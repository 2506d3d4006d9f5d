#pragma once

// How a message is described: by a table of its fields, from which it is both written and read. A field that is an
// optional is left out while it is empty; every other one must be there.

#include <array>
#include <string_view>
#include <tuple>
#include <type_traits>

namespace zun::cloud {

// What a text field may hold.
enum class Text { Free, Name };

template <class Member>
struct Field {
    std::string_view name;
    Member member;  // a pointer to the member, or what gives a reference to it
    Text text = Text::Free;
};

template <class Member>
constexpr Field<Member> field(std::string_view name, Member member, Text text = Text::Free) {
    return {name, member, text};
}

// Specialised for each message: `static constexpr std::tuple fields{field(...), ...}`.
template <class T>
struct Described;
template <class T>
requires std::is_empty_v<T>
struct Described<T> {
    static constexpr std::tuple<> fields{};
};

template <class T>
concept HasFields = requires {
    Described<T>::fields;
};

// Specialised for each enumeration whose numbers are closed: `static constexpr std::array values{...}`.
template <class E>
struct Closed;

template <class E>
concept HasClosedValues = requires {
    Closed<E>::values;
};

}  // namespace zun::cloud
