#include "platform/foundation/NSUserDefaults.h"
