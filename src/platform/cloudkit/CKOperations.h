#pragma once

// All operations of a database, for whoever runs them.

#include "platform/cloudkit/CKChangeOperations.h"
#include "platform/cloudkit/CKDatabase.h"
#include "platform/cloudkit/CKRecordOperations.h"
#include "platform/cloudkit/CKRecordZoneOperations.h"
