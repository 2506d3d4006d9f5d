#pragma once

// What the operations of a database have in common. Make one, set its blocks, add it to a database; once added it must
// not be changed, and it lives until its completion block has run. Blocks that were not set are not called. An interim
// block never runs after the completion block has begun.

#include "platform/foundation/Dispatch.h"

namespace zun {

class CKDatabaseOperation {
  public:
    virtual ~CKDatabaseOperation() = default;
    void setQualityOfService(QualityOfService quality) { qualityOfService = quality; }
    QualityOfService qualityOfService = QualityOfService::Default;
};

}  // namespace zun
