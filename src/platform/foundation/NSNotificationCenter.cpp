#include "platform/foundation/NSNotificationCenter.h"
