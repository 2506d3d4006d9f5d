#include "shell/QuitNotice.h"

#include <QCheckBox>
#include <QMessageBox>
#include <QPushButton>

namespace zun {

void showQuitNotice(QWidget* parent, const LocalizedStrings& strings, ZNUserDefaults& defaults,
                    const std::function<void()>& quit) {
    constexpr const char* name = "quitNotice";
    if (auto* open = parent->findChild<QMessageBox*>(name, Qt::FindDirectChildrenOnly)) return open->activateWindow();
    const auto text = [&](std::string_view key) { return QString::fromStdString(strings.string(key)); };
    auto* notice = new QMessageBox(parent);
    notice->setObjectName(name);
    notice->setAttribute(Qt::WA_DeleteOnClose);
    notice->setWindowTitle(text("App_Name"));
    notice->setText(text("Quit_Prompt_Title"));
    notice->setInformativeText(text("Quit_Prompt"));
    auto* main = notice->addButton(text("Quit_Prompt_Main_Action"), QMessageBox::AcceptRole);
    notice->addButton(text("Quit_Prompt_Main_Subaction"), QMessageBox::RejectRole);
    notice->setDefaultButton(main);
    auto* suppression = new QCheckBox(text("Quit_Prompt_Suppression_Label"));
    notice->setCheckBox(suppression);
    QObject::connect(suppression, &QCheckBox::clicked, notice,
                     [&defaults](bool isOn) { defaults.onSetShouldShowQuitNotice(!isOn); });
    QObject::connect(main, &QPushButton::clicked, notice, quit);
    notice->open();
}

}  // namespace zun
