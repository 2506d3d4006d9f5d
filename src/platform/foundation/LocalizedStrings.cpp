#include "platform/foundation/LocalizedStrings.h"
