#include "platform/foundation/Dispatch.h"
