#pragma once

namespace zun {

// Starts the application's helper at login, or not.
class LoginItem {
  public:
    virtual ~LoginItem() = default;
    // False if it could not be changed.
    virtual bool setEnabled(bool enabled) = 0;
    // Enabled and on demand; false where there is no such item or no list of items at all.
    [[nodiscard]] virtual bool isEnabledOnDemand() const = 0;
};

}  // namespace zun
