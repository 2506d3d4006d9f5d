#pragma once

// What the desktop says of motion, scrolling and colours, asked of the settings portal without waiting for it, and
// followed as it changes; and when machine and user are back. A desktop without a portal says nothing, and nothing
// changes. Main thread.

#include <QDBusVariant>
#include <QMap>
#include <QObject>
#include <QVariantMap>
#include <optional>

namespace zun {

class DesktopSettings final : public QObject {
    Q_OBJECT
  public:
    // Asks now; the answers come as signals.
    void start();

    // As the desktop last said it; empty if it has said nothing.
    [[nodiscard]] std::optional<bool> wantsAnimations() const { return _wantsAnimations; }
    [[nodiscard]] std::optional<bool> naturalScrolling() const { return _naturalScrolling; }
    // 1 prefers dark, 2 light, 0 neither.
    [[nodiscard]] std::optional<unsigned> colorScheme() const { return _colorScheme; }

  signals:
    void changed();
    // The machine woke up; clocks and zones may have moved.
    void resumed();
    // The user is back before the screen.
    void unlocked();

  private slots:
    void settingChanged(const QString& group, const QString& key, const QDBusVariant& value);
    void prepareForSleep(bool start);
    void screenSaverActiveChanged(bool isActive);

  private:
    void take(const QString& group, const QString& key, const QVariant& value);

    std::optional<bool> _wantsAnimations;
    std::optional<bool> _naturalScrolling;
    std::optional<unsigned> _colorScheme;
};

}  // namespace zun
