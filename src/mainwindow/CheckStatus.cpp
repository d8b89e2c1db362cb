#include "CheckStatus.h"

#include "OutputControl.h"
#include "Prompter.h"

#include <QEvent>
#include <QLabel>
#include <QMouseEvent>

CheckStatus::CheckStatus(const ConfigData &config, const Outputs &outputs, QLabel *label, Prompter &prompter,
                         QObject *parent)
    : QObject(parent)
    , m_config(config)
    , m_outputs(outputs)
    , m_label(label)
    , m_prompter(prompter)
{
    m_label->setObjectName(QStringLiteral("CHECK"));
    m_label->setToolTip(QStringLiteral("Codes the unit cannot tell apart: click for the list"));
    m_label->setCursor(Qt::PointingHandCursor);
    m_label->setVisible(false);
    m_label->installEventFilter(this);
}

void CheckStatus::check()
{
    // The codes as the panels' editors hold them now; the configuration
    // gets them only when a command collates them.
    ConfigData shown = m_config;
    for (const OutputControl *output : m_outputs)
        output->collateInto(shown);
    m_findings = tavo::checkConfig(shown);
    showMarks();
    const QString summary = tavo::findingsSummary(m_findings);
    m_label->setText(summary);
    m_label->setVisible(!summary.isEmpty());
}

void CheckStatus::showMarks()
{
    for (std::size_t n = 0; n < m_outputs.size(); ++n) {
        QStringList messages;
        bool error = false;
        for (const tavo::ConfigFinding &f : m_findings) {
            if (std::find(f.outputs.begin(), f.outputs.end(), int(n)) == f.outputs.end())
                continue;
            messages << f.message;
            error = error || f.isError();
        }
        m_outputs[n]->setFindings(messages, error);
    }
}

bool CheckStatus::approve(const QString &verb)
{
    check();
    QStringList errors;
    for (const tavo::ConfigFinding &f : m_findings) {
        if (f.isError())
            errors << f.message;
    }
    if (errors.isEmpty())
        return true;
    const QString count =
        errors.size() == 1 ? QStringLiteral("1 error") : QStringLiteral("%1 errors").arg(errors.size());
    const QString text = QStringLiteral("The configuration has %1: %2\n\n%3 anyway?")
                             .arg(count, errors.join(QLatin1Char('\n')), verb);
    return m_prompter.show(text, QStringLiteral("Warning!"), Prompter::Icon::Exclamation,
                           Prompter::Buttons::YesNo, Prompter::Answer::No)
           == Prompter::Answer::Yes;
}

void CheckStatus::listFindings()
{
    QStringList lines;
    for (const tavo::ConfigFinding &f : m_findings)
        lines << QStringLiteral("%1: %2").arg(
            f.isError() ? QStringLiteral("Error") : QStringLiteral("Warning"), f.message);
    if (lines.isEmpty())
        return;
    m_prompter.show(lines.join(QLatin1Char('\n')), QStringLiteral("Configuration check"),
                    Prompter::Icon::Information, Prompter::Buttons::Ok, Prompter::Answer::Ok);
}

bool CheckStatus::eventFilter(QObject *watched, QEvent *event)
{
    if (watched == m_label && event->type() == QEvent::MouseButtonRelease
        && static_cast<QMouseEvent *>(event)->button() == Qt::LeftButton) {
        listFindings();
        return true;
    }
    return QObject::eventFilter(watched, event);
}
