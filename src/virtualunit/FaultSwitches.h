#pragma once

#include <QGroupBox>

class QCheckBox;
class QComboBox;
class QPushButton;
class QSpinBox;
class UnitLine;

// The fault switches of the Virtual unit window: the ways a unit goes wrong
// that the programming and test dialogs have a message for. Each switch
// changes the running unit at once, also while a dialog talks to it, so
// that a fault can strike between the search and the download.
//
//   Silent                 the unit does not answer the search
//   Wrong check byte       its answer to the search does not add up
//   Download blocks        acknowledged, refused (0F), not answered, or
//                          answered with F0 alone (which counts as nothing)
//   Restart                the same for the restart command
//   Unplugged after block  the unit vanishes in the middle of a download
//   Unplug / Plug in again the cable, by hand
class FaultSwitches : public QGroupBox
{
    Q_OBJECT

public:
    explicit FaultSwitches(UnitLine &line, QWidget *parent = nullptr);

private:
    QComboBox *ackChoice(const QString &name, int current);
    void applyAcks();
    void applyVanish();
    void showPlug();

    UnitLine &m_line;
    QCheckBox *m_silent;
    QCheckBox *m_checkByte;
    QComboBox *m_blocks;
    QComboBox *m_restart;
    QCheckBox *m_vanish;
    QSpinBox *m_vanishBlock;
    QPushButton *m_plug;
};
