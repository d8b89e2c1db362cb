#include "MessageBoxPrompter.h"

#include <QMessageBox>

namespace {

QMessageBox::Icon toIcon(Prompter::Icon icon)
{
    switch (icon) {
    case Prompter::Icon::Information: return QMessageBox::Information;
    case Prompter::Icon::Question: return QMessageBox::Question;
    case Prompter::Icon::Exclamation: return QMessageBox::Warning;
    case Prompter::Icon::Critical: return QMessageBox::Critical;
    case Prompter::Icon::None: break;
    }
    return QMessageBox::NoIcon;
}

QMessageBox::StandardButton toButton(Prompter::Answer answer)
{
    switch (answer) {
    case Prompter::Answer::Yes: return QMessageBox::Yes;
    case Prompter::Answer::No: return QMessageBox::No;
    case Prompter::Answer::Cancel: return QMessageBox::Cancel;
    case Prompter::Answer::Ok: break;
    }
    return QMessageBox::Ok;
}

} // namespace

Prompter::Answer MessageBoxPrompter::show(const QString &text, const QString &title, Icon icon,
                                          Buttons buttons, Answer defaultAnswer)
{
    QMessageBox::StandardButtons standard = QMessageBox::Ok;
    if (buttons == Buttons::YesNo)
        standard = QMessageBox::Yes | QMessageBox::No;
    else if (buttons == Buttons::YesNoCancel)
        standard = QMessageBox::Yes | QMessageBox::No | QMessageBox::Cancel;

    QMessageBox box(toIcon(icon), title, text, standard, m_parent);
    box.setDefaultButton(toButton(defaultAnswer));
    switch (box.exec()) {
    case QMessageBox::Yes: return Answer::Yes;
    case QMessageBox::No: return Answer::No;
    case QMessageBox::Cancel: return Answer::Cancel;
    default: break;
    }
    // Closing a Yes/No box with the window's close button is a No;
    // with Yes/No/Cancel QMessageBox maps it to Cancel itself.
    return buttons == Buttons::YesNo ? Answer::No : Answer::Ok;
}
