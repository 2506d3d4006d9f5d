#pragma once

// What the account window works with in the running application. Both outlive the model that is made of it.

#include "apps/zun/CloudOfApplication.h"
#include "shell/AccountModel.h"

namespace zun {

[[nodiscard]] AccountModel::Collaborators accountOfApplication(Core& core, CloudOfApplication& cloud);

}  // namespace zun
