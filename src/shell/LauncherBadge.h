#pragma once

// The number on the application's entry in docks and task bars that speak com.canonical.Unity.LauncherEntry: told by a
// signal whenever it changes, and to a dock that starts later when it asks. Without a session bus it does nothing. Main
// thread.

#include <QObject>
#include <QVariantMap>
#include <cstddef>

namespace zun {

class LauncherBadge final : public QObject {
    Q_OBJECT
    Q_CLASSINFO("D-Bus Interface", "com.canonical.Unity.LauncherEntry")
  public:
    LauncherBadge();

    // 0 shows no number.
    void setCount(std::size_t count);

  public slots:
    Q_SCRIPTABLE QString Query(QVariantMap& properties) const;

  private:
    [[nodiscard]] QVariantMap properties() const;

    std::size_t _count = 0;
    bool _isRegistered = false;
};

}  // namespace zun
