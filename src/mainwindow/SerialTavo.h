#pragma once

#include "ConfigData.h"

#include <QMainWindow>
#include <QPointer>

#include <array>
#include <memory>
#include <span>

class CheckStatus;
class CommonDialog;
class HelpWindow;
class OutputControl;
class Prompter;
class QGridLayout;
class QLabel;
class RightHandToolbar;
class Shell;
class UnitServices;

// The main window: eight output panels, the toolbar and the status bar. It
// owns the configuration being edited and carries out every toolbar
// command.
//
// Everything that reaches outside the window (messages, file dialogs, the
// desktop shell, the unit dialogs) comes in through Services, so a test can
// script it; what is not given is provided by the desktop versions. The
// file dialog is one object for the window's life on purpose: saving
// remembers the name the dialog last held, not the name it was given.
//
// SerialTavo, SaveConfig, OpenConfig, NewConfig, QuerySave, UpdateCaption,
// UpdateSettingsDisplay, ExportConfig, CurrentFileName, OutputControl1 and
// RightHandToolbar1, and the object names StatusBar1, FILENAME and SETTINGS,
// are the names the unit's original configuration tool used. They keep
// that spelling, against our lowerCamelCase habit, so that each command can
// be traced name by name to the tool its users know, and tests find the
// parts by them; the other names are ours.
class SerialTavo : public QMainWindow
{
    Q_OBJECT

public:
    struct Services {
        Prompter *prompter = nullptr;
        CommonDialog *commonDialog = nullptr;
        Shell *shell = nullptr;
        UnitServices *units = nullptr; // none: TEST and DOWNLOAD open nothing
    };

    explicit SerialTavo(QWidget *parent = nullptr);
    explicit SerialTavo(const Services &services, QWidget *parent = nullptr);
    ~SerialTavo() override;

    // Start-up: a new configuration, the panels bound to their outputs, the
    // toolbar filled, the device types checked, then the configuration
    // named by the command line's positional arguments opened, if any.
    void start(const QStringList &arguments = {});

    // Saves to `fileName`, asking for a name when it is empty (the chosen
    // name is handed back in it). True when the file was written.
    bool SaveConfig(QString &fileName);

    // Runs a toolbar command by key, as a click on its button does; an
    // unknown key does nothing.
    void runCommand(const QString &key);

    ConfigData &config() { return m_config; }
    QString CurrentFileName() const { return m_currentFileName; }
    OutputControl *OutputControl1(int index) const;
    RightHandToolbar *RightHandToolbar1() const { return m_toolbar; }

signals:
    // The configuration as the panels show it may have changed: an edit,
    // or a command that has run (a file opened, new settings).
    void configurationChanged();

protected:
    bool event(QEvent *event) override;
    void closeEvent(QCloseEvent *event) override;
    bool eventFilter(QObject *watched, QEvent *event) override;

private:
    void OpenConfig(QString fileName);
    void NewConfig();
    bool QuerySave();
    void UpdateCaption();
    void UpdateSettingsDisplay();
    void ExportConfig();
    // The toolbar commands, each with its button, shortcut and handler;
    // the table is in SerialTavo.cpp.
    struct Command;
    static std::span<const Command> commands();

    void provideMissingServices();
    QGridLayout *newOutputGrid(QWidget *central);
    void fillStatusBar();
    void fillToolbar();
    void addShortcuts();
    void collateAll();
    void checkDeviceTypes();
    void buildImage();
    void outputClicked();

    // The handlers of the commands.
    void startAgain();
    void open();
    void save();
    void saveAs();
    void exportImage();
    void showSettings();
    void testUnit();
    void downloadToUnit();
    void exitProgram();
    void showHelp();
    void showAbout();

    ConfigData m_config;
    QString m_currentFileName;
    bool m_exitApproved = false;
    bool m_deviceTypesDue = false;    // start() has run, the table is not checked yet
    bool m_deviceTypesQueued = false; // the check follows the first paint

    std::unique_ptr<Prompter> m_ownPrompter;
    std::unique_ptr<CommonDialog> m_ownDialog;
    std::unique_ptr<Shell> m_ownShell;
    Prompter *m_prompter;
    CommonDialog *m_commonDialog;
    Shell *m_shell;
    UnitServices *m_units;

    RightHandToolbar *m_toolbar;
    std::array<OutputControl *, ConfigData::OutputCount> m_outputs{};
    QLabel *m_fileNamePanel;
    QLabel *m_settingsPanel;
    CheckStatus *m_check = nullptr;
    QPointer<HelpWindow> m_helpWindow; // one at a time; it deletes itself when closed
};
