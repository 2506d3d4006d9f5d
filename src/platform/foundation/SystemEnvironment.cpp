#include "platform/foundation/SystemEnvironment.h"
