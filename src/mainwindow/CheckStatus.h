#pragma once

#include "ConfigCheck.h"

#include <QObject>

#include <array>
#include <vector>

class OutputControl;
class Prompter;
class QLabel;

// The configuration check while the user edits: each output panel whose
// codes take part in a finding carries a warning or error mark with the
// findings as its tooltip, the status bar shows how many there are ("2
// warnings", a click lists them), and DOWNLOAD and EXPORT ask before they
// go on with errors. Without findings nothing of this shows and the
// commands go as they always have.
class CheckStatus : public QObject
{
    Q_OBJECT

public:
    using Outputs = std::array<OutputControl *, ConfigData::OutputCount>;

    // `label` goes into the status bar; `config` is the window's, whose
    // codes the panels' editors may hold newer versions of.
    CheckStatus(const ConfigData &config, const Outputs &outputs, QLabel *label, Prompter &prompter,
                QObject *parent = nullptr);

    // Checks what the panels show now (cheap: a full configuration takes
    // microseconds) and updates the marks and the count.
    void check();
    const std::vector<tavo::ConfigFinding> &findings() const { return m_findings; }

    // Before a command that puts the configuration into a unit or a file
    // for one: true to go on. With errors, asks "... `verb` anyway?"
    // (Yes/No, No the default).
    bool approve(const QString &verb);

    // The list a click on the count shows.
    void listFindings();

protected:
    bool eventFilter(QObject *watched, QEvent *event) override;

private:
    void showMarks();

    const ConfigData &m_config;
    Outputs m_outputs;
    QLabel *m_label;
    Prompter &m_prompter;
    std::vector<tavo::ConfigFinding> m_findings;
};
