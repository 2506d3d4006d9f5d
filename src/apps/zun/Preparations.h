#pragma once

// What takes long at the start and needs neither a display nor the store, made on a thread of its own while Qt waits
// for the display: the list of fonts and the patterns of the topics.

#include <memory>
#include <thread>

#include "text/TopicDetection.h"

namespace zun {

class Preparations {
  public:
    // Begins.
    Preparations();
    ~Preparations();
    Preparations(const Preparations&) = delete;
    Preparations& operator=(const Preparations&) = delete;

    // Waits until all is made. Before the first text is drawn: whoever draws earlier lists the fonts a second time.
    [[nodiscard]] const TopicDetection& topics();

  private:
    struct Made;

    std::unique_ptr<Made> _made;
    std::thread _thread;
};

}  // namespace zun
