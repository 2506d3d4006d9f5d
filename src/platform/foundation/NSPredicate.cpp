#include "platform/foundation/NSPredicate.h"
