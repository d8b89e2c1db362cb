#pragma once

#include "UnitDialog.h"

#include <array>

class QFrame;
class QLabel;
class QLayout;
class QLineEdit;
class QProgressBar;
class QPushButton;
class QRadioButton;
struct ConfigData;

// "Tavo program": downloads the configuration image into a unit.
//
// Every time it is shown it searches the four ports and lists what
// answered; only a Serial Tavo can be chosen. "Program Tavo" then finds
// the chosen unit again, downloads the image block by block with the
// progress shown, restarts the unit and offers to program another one on
// the same port (without a new search). The dialog hides itself when the
// run is over.
class VellComms : public UnitDialog
{
    Q_OBJECT

public:
    static constexpr int SlotCount = VellProtocol::SlotCount;

    // The image is config.ConfigImage as it stands when programming starts.
    VellComms(const ConfigData &config, const Parts &parts, QWidget *parent = nullptr);

protected:
    void Form_Activate() override;
    void Command1_Click() override;
    void applySlot(int slot, const SearchSlot &state) override;

private:
    // The parts of the window, top to bottom.
    QWidget *makeSlotRows();
    QFrame *makePleaseWait();
    QLayout *makeButtons();

    void Option1_Click(int index);
    void ProgramVell_Click();

    const ConfigData &m_config;
    // Controls, named after them (objectName "Blanking0", "Option1_2", ...).
    std::array<QFrame *, SlotCount> m_blanking{};
    std::array<QLineEdit *, SlotCount> m_vellType{};
    std::array<QRadioButton *, SlotCount> m_option1{};
    std::array<QLabel *, SlotCount> m_portName{};
    QFrame *m_pleaseWait = nullptr;
    QProgressBar *m_progressBar1 = nullptr;
    QLabel *m_label2 = nullptr;
    QPushButton *m_programVell = nullptr;
};
