#include "platform/foundation/NSTimeZone.h"
