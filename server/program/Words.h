#pragma once

// Whether words of the command line can be what they are meant for, before anything is done with them. Each returns
// what is wrong as a sentence for whoever typed it, or nothing. None changes anything; any thread.

#include <string>

namespace zun::cloud {

// HOST:PORT with a port in digits, or unix:PATH where a socket may be made.
[[nodiscard]] std::string whyNoAddress(const std::string& word);
// postgresql://..., or keywords as in "host=HOST dbname=NAME".
[[nodiscard]] std::string whyNoDatabase(const std::string& word);

}  // namespace zun::cloud
