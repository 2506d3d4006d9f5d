#include "platform/foundation/ISO8601.h"
