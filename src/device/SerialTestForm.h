#pragma once

#include "TestStrings.h"
#include "UnitDialog.h"

#include <array>

class QCheckBox;
class QFrame;
class QGroupBox;
class QLabel;
class QPushButton;
class QRadioButton;
class SerialEditor;
struct ConfigData;

// "Serial test": sends test strings to a unit so the user can see it
// react. Like the programming dialog it searches the ports every time it
// is shown; the user picks a found unit's port, a mode and the outputs,
// sees the composed bytes in the message editor and presses Send.
//
// The message is composed afresh on every selection change; in Tavo mode
// it is the code the configuration holds for the chosen output (as last
// collected from the main window's panels).
class SerialTestForm : public UnitDialog
{
    Q_OBJECT

public:
    static constexpr int SlotCount = VellProtocol::SlotCount;
    static constexpr int OutputCount = TestStrings::OutputCount;

    SerialTestForm(const ConfigData &config, const Parts &parts, QWidget *parent = nullptr);

    // The port test strings go to: 0 (none) or 1 to 4. It is the last one
    // chosen, even after a new search has cleared the choice on screen.

protected:
    void Form_Activate() override;
    void Command1_Click() override;
    void applySlot(int slot, const SearchSlot &state) override;

private:
    // The frames of the window, each with its controls.
    QGroupBox *makeTargetFrame();
    QGroupBox *makeMessageFrame();
    QGroupBox *makeSettingsFrame();
    QGroupBox *makeModeFrame(QWidget *frame1);
    void makeOnOffFrame(QWidget *frame1);
    void makeOutputFrames(QWidget *frame1);
    // What the dialog shows when it opens.
    void showOpeningState();

    void Option1_Click(int index);
    void ModeOption_Click(int index);
    void WhichOption_Click(int index);
    void Send_Click();
    void compose();

    const ConfigData &m_config;
    int m_port = 0;
    int m_mode = TestStrings::Tavo;
    int m_output = 0;

    // Controls, named after them (objectName "Option1_0", "WhichCheck7", ...).
    std::array<QFrame *, SlotCount> m_blanking{};
    std::array<QRadioButton *, SlotCount> m_option1{};
    std::array<QLabel *, SlotCount> m_vellType{};
    std::array<QLabel *, SlotCount> m_portName{};
    std::array<QRadioButton *, 4> m_modeOption{};
    std::array<QRadioButton *, 2> m_onOffOption{};
    std::array<QCheckBox *, OutputCount> m_whichCheck{};
    std::array<QRadioButton *, OutputCount> m_whichOption{};
    QGroupBox *m_onOffFrame = nullptr;
    QGroupBox *m_outputCheckFrame = nullptr;
    QGroupBox *m_outputOptionFrame = nullptr;
    SerialEditor *m_serialEditor1 = nullptr;
    QLabel *m_serialSettingLabel = nullptr;
    QPushButton *m_send = nullptr;
};
