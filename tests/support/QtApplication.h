#pragma once

// The one application object that a test program with widgets needs, there from its first test to its last. A program
// has it by making one OneQtApplication, given to AddGlobalTestEnvironment().

#include <gtest/gtest.h>

#include <QApplication>
#include <memory>

namespace zun {

class OneQtApplication final : public testing::Environment {
  public:
    void SetUp() override { _application = std::make_unique<QApplication>(_count, _arguments); }
    void TearDown() override { _application.reset(); }

  private:
    int _count = 1;
    char _name[5] = "test";
    char* _arguments[2] = {_name, nullptr};
    std::unique_ptr<QApplication> _application;
};

}  // namespace zun
