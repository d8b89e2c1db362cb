#pragma once

#include "ConfigData.h"

#include <QWidget>

#include <array>

class QGroupBox;
class QLabel;
class QRadioButton;
class SerialEditor;
class byteEditor;

// The panel of one of the unit's eight outputs: its mode, its period and
// the serial codes that switch it on and off.
//
// The values live in the configuration, not here. SetIndex() binds the
// panel to an output and loads it; mode and period changes are written back
// at once, the two codes only when ColateSerialData() is called (the window
// does so before it saves, exports, tests or downloads). `Click` follows
// every change the user makes.
//
// OutputControl, SetIndex, ColateSerialData, OutputNumber, Click and
// OuputOperation_Click, and the children's object names MainFrame, Frame2,
// OuputOperation_0 and _1, PeriodLabel, Period, LabelSerialOn,
// SerialEditorOn, LabelSerialOff and SerialEditorOff, are the names the
// unit's original configuration tool used, misspellings included. They
// keep that spelling, against our lowerCamelCase habit, so that the panel
// can be traced name by name to the tool its users know, and tests find
// its parts by them; the other names are ours.
class OutputControl : public QWidget
{
    Q_OBJECT

public:
    explicit OutputControl(ConfigData &config, QWidget *parent = nullptr);

    // Binds the panel to output `index` (0 to 7) and shows its settings
    // without raising Click. Throws std::out_of_range for any other index.
    void SetIndex(int index);

    // Copies both editors' messages into the configuration's code slots of
    // the bound output (output 0 before the first SetIndex).
    void ColateSerialData();
    // The same into another configuration (a copy to check).
    void collateInto(ConfigData &config) const;

    // The configuration check's findings for this output: a warning mark
    // (an error mark when `error`) beside the title, the findings as its
    // tooltip; no mark without findings.
    void setFindings(const QStringList &messages, bool error);

    int OutputNumber() const { return m_outputNumber; }

    // As drawn; the panel may be wider (never narrower or taller), and then
    // its code editors are.
    QSize sizeHint() const override;

signals:
    void Click();
    // Either code's bytes were edited in any way, also without a Click.
    void codesEdited();

protected:
    void resizeEvent(QResizeEvent *event) override;

private:
    // The two mode options, by their index in OuputOperation.
    enum class Operation : int { OnOff = 0, Pulse = 1 };

    void addOperationOptions();
    QRadioButton *option(Operation operation) const;
    void OuputOperation_Click(Operation index);
    void periodChanged();
    void messageChanged();

    ConfigData &m_config;
    int m_outputNumber = 0;
    bool m_loadingFlag = false;

    QGroupBox *m_mainFrame;
    QGroupBox *m_frame2;
    std::array<QRadioButton *, 2> m_ouputOperation{};
    QLabel *m_periodLabel;
    byteEditor *m_period;
    QLabel *m_labelSerialOn;
    SerialEditor *m_serialEditorOn;
    QLabel *m_labelSerialOff;
    SerialEditor *m_serialEditorOff;
    QLabel *m_findingsMark;
};
