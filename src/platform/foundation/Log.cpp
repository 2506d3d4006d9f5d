#include "platform/foundation/Log.h"
