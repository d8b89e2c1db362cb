#pragma once

struct ConfigData;
class QWidget;

// What the main window needs from the unit side of the program: the
// device-type table at start-up and the two dialogs that talk to a unit.
// Kept behind this interface so the window builds, runs and is tested
// without any serial code.
class UnitServices
{
public:
    virtual ~UnitServices() = default;

    // Brings the device-type table up to date. The window asks once, after
    // it has first been painted, or before a unit dialog if that is sooner.
    virtual void checkDeviceTypes() = 0;
    // Modal: sends test strings to a unit. The window has collated the
    // outputs' codes into `config` first.
    virtual void showTestDialog(ConfigData &config, QWidget *parent) = 0;
    // Modal: downloads config.ConfigImage, which the window has just built.
    virtual void showProgrammingDialog(ConfigData &config, QWidget *parent) = 0;
};
