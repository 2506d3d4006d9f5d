#include "apps/zun/Preparations.h"

#include <fontconfig/fontconfig.h>

#include "platform/foundation/LocalizedStrings.h"
#include "platform/foundation/SystemEnvironment.h"

namespace zun {

struct Preparations::Made {
    SystemEnvironment environment;
    LocalizedStrings strings{environment.locale().preferredLanguages};
    TopicDetection topics{environment, strings};
};

Preparations::Preparations()
    : _thread([this] {
          FcInit();
          _made = std::make_unique<Made>();
          // Any title does: with the first one the patterns are compiled.
          (void)_made->topics.topicForTitle("Zun");
      }) {}

Preparations::~Preparations() {
    if (_thread.joinable()) _thread.join();
}

const TopicDetection& Preparations::topics() {
    if (_thread.joinable()) _thread.join();
    return _made->topics;
}

}  // namespace zun
