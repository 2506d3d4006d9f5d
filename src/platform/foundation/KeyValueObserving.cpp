#include "platform/foundation/KeyValueObserving.h"
