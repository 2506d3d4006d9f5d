// Boost.JSON, compiled once for all that use it.
#include <boost/json/src.hpp>
