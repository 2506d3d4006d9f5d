#include "shell/AboutPanel.h"

#include <QDesktopServices>
#include <QMessageBox>
#include <QPushButton>
#include <QUrl>

namespace zun {

void showAbout(QWidget* parent, const LocalizedStrings& strings, Pictures& pictures) {
    constexpr const char* name = "about";
    // Asked for twice, it comes forward.
    if (auto* open = parent->findChild<QMessageBox*>(name, Qt::FindDirectChildrenOnly)) return open->activateWindow();
    const auto text = [&](std::string_view key) { return QString::fromStdString(strings.string(key)); };
    const auto version = stringWithFormat(strings.string("About_Version_Format"), {ZUN_VERSION});
    auto* panel = new QMessageBox(parent);
    panel->setObjectName(name);
    panel->setAttribute(Qt::WA_DeleteOnClose);
    panel->setWindowTitle(text("Zun_About_Label"));
    panel->setIconPixmap(pictures.pixmap("zun_icon_large", QSizeF(64, 64), parent->devicePixelRatioF()));
    panel->setText(QString("<b>%1</b> %2").arg(text("App_Name"), QString::fromStdString(version)));
    panel->setInformativeText(text("About_Description") + "\n\n" + text("About_Library_Text"));
    panel->setTextFormat(Qt::RichText);
    panel->addButton(QMessageBox::Ok)->setIcon(QIcon());
    panel->open();
}

void showHelp() {
    QDesktopServices::openUrl(QUrl(QString(supportHost) + "/support"));
}

}  // namespace zun
