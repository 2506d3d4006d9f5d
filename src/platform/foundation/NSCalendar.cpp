#include "platform/foundation/NSCalendar.h"
