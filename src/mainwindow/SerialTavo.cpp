#include "SerialTavo.h"

#include "AboutBox.h"
#include "CheckStatus.h"
#include "ConfigFile.h"
#include "ConfigImage.h"
#include "DocumentLauncher.h"
#include "ExportFile.h"
#include "FileDialog.h"
#include "FileNames.h"
#include "HelpWindow.h"
#include "Logging.h"
#include "MessageBoxPrompter.h"
#include "OutputControl.h"
#include "Product.h"
#include "RightHandToolbar.h"
#include "SerialSettings.h"
#include "SettingsForm.h"
#include "Shell.h"
#include "ToolbarIcons.h"
#include "UnitServices.h"

#include <QAction>
#include <QCloseEvent>
#include <QCoreApplication>
#include <QGridLayout>
#include <QLabel>
#include <QMouseEvent>
#include <QStatusBar>
#include <QTimer>
#include <QVBoxLayout>

#include <algorithm>
#include <exception>
#include <stdexcept>

namespace {

const QString ConfigFilter = QStringLiteral("Olvex Serial Tavo configuration File (*.OTS)|*.OTS");
// The blank before the pattern has always been there; the dialog copes.
const QString ExportFilter = QStringLiteral("Brondel Export File (*.BDX)| *.BDX");
const QString HelpFileName = QStringLiteral("Serial Tavo Editor.html");
// SETTINGS starts with this fixed text ("8 bit data", unlike the computed
// one) until UpdateSettingsDisplay first runs after start-up: the settings
// dialog, a file opened, a new configuration.
constexpr char FirstSettingsTooltip[] =
    "Set Tavo serial port settings (9600, No parity, 8 bit data, 1 Stop bit)";

// Raised inside the save and export routines to reach their one failure
// message; the reason goes to the log, the message stays the one users know.
struct WriteFailed : std::runtime_error {
    WriteFailed(const QString &path, const QString &why)
        : std::runtime_error((path + QStringLiteral(": ") + why).toStdString())
    {}
};

QLabel *newPanel(const QString &key, const QString &text, const QString &tooltip, QWidget *parent)
{
    auto *panel = new QLabel(text, parent);
    panel->setObjectName(key);
    panel->setToolTip(tooltip);
    panel->setFrameStyle(QFrame::Panel | QFrame::Sunken);
    panel->setContentsMargins(4, 0, 4, 0);
    return panel;
}

} // namespace

SerialTavo::SerialTavo(QWidget *parent)
    : SerialTavo(Services(), parent)
{}

SerialTavo::SerialTavo(const Services &services, QWidget *parent)
    : QMainWindow(parent)
    , m_prompter(services.prompter)
    , m_commonDialog(services.commonDialog)
    , m_shell(services.shell)
    , m_units(services.units)
    , m_toolbar(new RightHandToolbar)
{
    setObjectName(QStringLiteral("SerialTavo"));
    setWindowIcon(tavo::applicationIcon());
    provideMissingServices();

    auto *central = new QWidget(this);
    auto *layout = new QVBoxLayout(central);
    layout->setContentsMargins(0, 0, 0, 0);
    layout->setSpacing(4);
    layout->addLayout(newOutputGrid(central));
    layout->addStretch();
    // Above the panels, but after them in the keyboard's order: the focus
    // starts in output 1's On code, and Tab reaches the toolbar last.
    m_toolbar->setObjectName(QStringLiteral("RightHandToolbar1"));
    layout->insertWidget(0, m_toolbar);
    connect(m_toolbar, &RightHandToolbar::ButtonClicked, this, &SerialTavo::runCommand);
    setCentralWidget(central);

    fillStatusBar();
    addShortcuts();
    setWindowTitle(tavo::productCaption());
}

void SerialTavo::provideMissingServices()
{
    if (!m_prompter) {
        m_ownPrompter = std::make_unique<MessageBoxPrompter>(this);
        m_prompter = m_ownPrompter.get();
    }
    if (!m_commonDialog) {
        m_ownDialog = std::make_unique<FileDialog>(this);
        m_commonDialog = m_ownDialog.get();
    }
    if (!m_shell) {
        m_ownShell = std::make_unique<DesktopShell>();
        m_shell = m_ownShell.get();
    }
}

QGridLayout *SerialTavo::newOutputGrid(QWidget *central)
{
    // Outputs 1 to 4 down the left, 5 to 8 down the right.
    auto *grid = new QGridLayout;
    grid->setContentsMargins(6, 0, 6, 6);
    grid->setSpacing(6);
    for (int n = 0; n < ConfigData::OutputCount; ++n) {
        auto *output = new OutputControl(m_config, central);
        output->setObjectName(QStringLiteral("OutputControl1_%1").arg(n));
        connect(output, &OutputControl::Click, this, &SerialTavo::outputClicked);
        // A paste, cut, undo or menu command marks nothing modified, as in
        // the original tool, but the check and the Virtual unit's senders
        // follow what the panels show.
        connect(output, &OutputControl::codesEdited, this, [this] {
            m_check->check();
            emit configurationChanged();
        });
        grid->addWidget(output, n % 4, n / 4);
        m_outputs[static_cast<std::size_t>(n)] = output;
    }
    return grid;
}

void SerialTavo::fillStatusBar()
{
    QStatusBar *bar = statusBar();
    bar->setObjectName(QStringLiteral("StatusBar1"));
    bar->setSizeGripEnabled(false);
    m_fileNamePanel = newPanel(QStringLiteral("FILENAME"), QStringLiteral("This is a long filename"),
                               QStringLiteral("Current Filename"), bar);
    m_settingsPanel =
        newPanel(QStringLiteral("SETTINGS"), QString(), QStringLiteral("Tavo serial settings"), bar);
    m_settingsPanel->setCursor(Qt::PointingHandCursor);
    m_settingsPanel->installEventFilter(this);
    bar->addWidget(m_fileNamePanel, 1);
    bar->addWidget(m_settingsPanel, 2);
    auto *checkPanel = newPanel(QString(), QString(), QString(), bar);
    m_check = new CheckStatus(m_config, m_outputs, checkPanel, *m_prompter, this);
    bar->addWidget(checkPanel);
}

SerialTavo::~SerialTavo() = default;

OutputControl *SerialTavo::OutputControl1(int index) const
{
    return m_outputs.at(static_cast<std::size_t>(index));
}

// Every toolbar command: its button, its keyboard shortcut if it has one,
// and what it does. The toolbar is filled in this order, so the right-hand
// group reads from the right: ABOUT, HELP, MIN, EXITCROSS.
struct SerialTavo::Command {
    const char *key;
    const char *tooltip;
    RightHandToolbar::ButtonGroup group;
    const char *action; // objectName of the shortcut's action; null without a shortcut
    QKeySequence shortcut;
    void (SerialTavo::*run)();
};

std::span<const SerialTavo::Command> SerialTavo::commands()
{
    using enum RightHandToolbar::ButtonGroup;
    // Built on first use: standard key sequences need the application.
    static const Command table[] = {
        {"NEW", "Start new configuration", PackLeft, "actionNew", QKeySequence::New, &SerialTavo::startAgain},
        {"OPEN", "Open existing configuration", PackLeft, "actionOpen", QKeySequence::Open,
         &SerialTavo::open},
        {"SAVE", "Save configuration", PackLeft, "actionSave", QKeySequence::Save, &SerialTavo::save},
        {"SAVEAS", "Save configuration to different filename", PackLeft, "actionSaveAs",
         QKeySequence(Qt::CTRL | Qt::SHIFT | Qt::Key_S), &SerialTavo::saveAs},
        {"EXPORT", "Export Tavo Configuration File", PackLeft, nullptr, {}, &SerialTavo::exportImage},
        {"SETTINGS", FirstSettingsTooltip, Centre, nullptr, {}, &SerialTavo::showSettings},
        {"TEST", "Test Tavo by sending serial strings to Tavo", Centre, nullptr, {}, &SerialTavo::testUnit},
        {"DOWNLOAD", "Download configuration to Tavo", Centre, nullptr, {}, &SerialTavo::downloadToUnit},
        {"EXITCROSS", "Exit", PackRight, nullptr, {}, &SerialTavo::exitProgram},
        {"MIN", "Minimise", PackRight, nullptr, {}, &SerialTavo::showMinimized},
        {"HELP", "Help", PackRight, "actionHelp", QKeySequence(Qt::Key_F1), &SerialTavo::showHelp},
        {"ABOUT", "About", PackRight, nullptr, {}, &SerialTavo::showAbout},
    };
    return table;
}

void SerialTavo::addShortcuts()
{
    for (const Command &command : commands()) {
        if (!command.action)
            continue;
        auto *action = new QAction(this);
        action->setObjectName(QString::fromLatin1(command.action));
        action->setShortcut(command.shortcut);
        action->setShortcutContext(Qt::WindowShortcut);
        const QString key = QString::fromLatin1(command.key);
        // A shortcut is a click on its button, and so does nothing while
        // the button is disabled: Ctrl+S with nothing to save.
        connect(action, &QAction::triggered, this, [this, key] {
            if (m_toolbar->ButtonEnable(key))
                runCommand(key);
        });
        addAction(action);
    }
}

void SerialTavo::start(const QStringList &arguments)
{
    NewConfig();
    for (int n = 0; n < ConfigData::OutputCount; ++n)
        m_outputs[static_cast<std::size_t>(n)]->SetIndex(n);
    fillToolbar();
    // The device-type table is brought up to date once the window has been
    // painted: nothing of it shows, and reading it would keep the window
    // waiting. The unit dialogs, its only users, make sure of it first.
    m_deviceTypesDue = m_units != nullptr;
    const QString fileName = tavo::configFileFromArguments(arguments);
    if (!fileName.isEmpty())
        OpenConfig(fileName);
}

void SerialTavo::fillToolbar()
{
    m_toolbar->ClearAll();
    for (const Command &command : commands()) {
        const QString key = QString::fromLatin1(command.key);
        // Every button a push button.
        m_toolbar->AddButton(key, tavo::toolbarIcon(key), command.group, QString::fromLatin1(command.tooltip),
                             true);
    }
    m_toolbar->ForceResize();
}

void SerialTavo::runCommand(const QString &key)
{
    const std::span<const Command> all = commands();
    const auto command = std::find_if(all.begin(), all.end(),
                                      [&key](const Command &c) { return key == QLatin1String(c.key); });
    if (command == all.end())
        return;
    try {
        (this->*command->run)();
    } catch (const std::exception &e) {
        qCInfo(lcUi) << "command" << key << "abandoned:" << e.what();
        // Whatever went wrong, the file on disk and the window no longer
        // belong together: the configuration becomes untitled. No message.
        m_currentFileName.clear();
        UpdateCaption();
    }
    emit configurationChanged();
}

void SerialTavo::startAgain()
{
    if (QuerySave())
        NewConfig();
}

void SerialTavo::open()
{
    OpenConfig(QString());
}

void SerialTavo::save()
{
    // An untitled configuration asks for a name.
    QString name = m_currentFileName;
    SaveConfig(name);
}

void SerialTavo::saveAs()
{
    QString name;
    SaveConfig(name);
}

void SerialTavo::exportImage()
{
    if (!m_check->approve(QStringLiteral("Export")))
        return;
    buildImage();
    ExportConfig();
}

void SerialTavo::showSettings()
{
    SettingsForm settings(m_config, this);
    settings.exec();
    UpdateSettingsDisplay();
}

void SerialTavo::checkDeviceTypes()
{
    if (!m_deviceTypesDue)
        return;
    m_deviceTypesDue = false;
    m_units->checkDeviceTypes();
}

void SerialTavo::testUnit()
{
    collateAll();
    checkDeviceTypes();
    if (m_units)
        m_units->showTestDialog(m_config, this);
}

void SerialTavo::downloadToUnit()
{
    if (!m_check->approve(QStringLiteral("Download")))
        return;
    buildImage();
    checkDeviceTypes();
    if (m_units)
        m_units->showProgrammingDialog(m_config, this);
}

void SerialTavo::exitProgram()
{
    if (QuerySave()) {
        m_exitApproved = true;
        close();
    }
}

void SerialTavo::showHelp()
{
    const QString page = QCoreApplication::applicationDirPath() + QLatin1Char('/') + HelpFileName;
    // No viewer for the page, or no browser at all, is the one failure the
    // launch shows no message for; the page opens in our own window then.
    if (tavo::LaunchDocument(*m_shell, *m_prompter, page) != Shell::NoAssociation)
        return;
    if (!m_helpWindow)
        m_helpWindow = new HelpWindow(this);
    m_helpWindow->show();
    m_helpWindow->raise();
    m_helpWindow->activateWindow();
}

void SerialTavo::showAbout()
{
    AboutBox about(this);
    about.exec();
}

void SerialTavo::buildImage()
{
    tavo::BuildConfigImage(m_config, [this](int n) { OutputControl1(n)->ColateSerialData(); });
}

void SerialTavo::collateAll()
{
    for (OutputControl *output : m_outputs)
        output->ColateSerialData();
}

void SerialTavo::outputClicked()
{
    m_config.ConfigModified = true;
    m_toolbar->SetButtonEnable(QStringLiteral("SAVE"), true);
    m_check->check();
    emit configurationChanged();
}

void SerialTavo::NewConfig()
{
    m_config.ConfigModified = false;
    m_toolbar->SetButtonEnable(QStringLiteral("SAVE"), false);
    for (int n = 0; n < ConfigData::OutputCount; ++n) {
        const auto i = static_cast<std::size_t>(n);
        m_config.PulseModes[i] = false;
        m_config.OnPeriods[i] = 1;
        m_config.OffMessages[i].EmptyOut();
        m_config.OnMessages[i].EmptyOut();
        m_outputs[i]->SetIndex(n);
    }
    // The serial settings belong to the unit, not to one configuration.
    m_currentFileName.clear();
    UpdateCaption();
    UpdateSettingsDisplay();
    m_check->check();
}

bool SerialTavo::QuerySave()
{
    if (!m_config.ConfigModified)
        return true;
    switch (m_prompter->show(QStringLiteral("Save changes?"), QStringLiteral("Warning!"),
                             Prompter::Icon::Exclamation, Prompter::Buttons::YesNoCancel,
                             Prompter::Answer::Yes)) {
    case Prompter::Answer::Yes: {
        QString name = m_currentFileName;
        return SaveConfig(name);
    }
    case Prompter::Answer::No: return true;
    default: return false;
    }
}

bool SerialTavo::SaveConfig(QString &fileName)
{
    bool result = false;
    try {
        if (fileName.isEmpty()) {
            m_commonDialog->SetFlags(CommonDialog::NoReadOnlyReturn | CommonDialog::OverwritePrompt);
            m_commonDialog->SetFileName(QString());
            m_commonDialog->SetFilter(ConfigFilter);
            m_commonDialog->showSave();
            if (!m_commonDialog->FileName().isEmpty())
                fileName = m_commonDialog->FileName();
        }
        if (!fileName.isEmpty()) {
            collateAll();
            if (const auto written = tavo::writeConfigFile(fileName, m_config); !written.ok())
                throw WriteFailed(fileName, written.error);
            // The dialog's name, not the one just written: after a save
            // under a name the dialog never saw, the configuration is
            // untitled again and the next SAVE asks.
            m_currentFileName = m_commonDialog->FileName();
            m_config.ConfigModified = false;
            m_toolbar->SetButtonEnable(QStringLiteral("SAVE"), false);
            result = true;
        }
    } catch (const std::exception &e) {
        qCInfo(lcFile) << "save failed:" << e.what();
        m_prompter->show(QStringLiteral("Failed to save file, may be write protected"),
                         QStringLiteral("Error!"), Prompter::Icon::Exclamation, Prompter::Buttons::Ok,
                         Prompter::Answer::Ok);
        m_currentFileName.clear();
    }
    UpdateCaption();
    return result;
}

void SerialTavo::OpenConfig(QString fileName)
{
    const auto untitled = [this] {
        m_currentFileName.clear();
        UpdateCaption();
    };
    if (!QuerySave())
        return untitled();
    if (fileName.isEmpty()) {
        m_commonDialog->SetFlags(CommonDialog::FileMustExist);
        m_commonDialog->SetFileName(QString());
        m_commonDialog->SetFilter(ConfigFilter);
        m_commonDialog->SetFilterIndex(1);
        m_commonDialog->showOpen();
        fileName = m_commonDialog->FileName();
    }
    if (fileName.isEmpty())
        return untitled();

    // Each output is shown as soon as it is read, so a file that breaks
    // off part-way leaves the panels showing exactly what was loaded.
    const tavo::ConfigReadResult read = tavo::readConfigFile(
        fileName, m_config, [this](int n) { m_outputs[static_cast<std::size_t>(n)]->SetIndex(n); });
    m_check->check();
    if (!read.ok()) {
        using Status = tavo::ConfigReadResult::Status;
        const char *why = read.status == Status::MissingLine ? "the file ends before line"
                          : read.status == Status::BadValue  ? "cannot read line"
                          : read.status == Status::NotFound  ? "no such file"
                                                             : "cannot read the file";
        qCInfo(lcFile).noquote() << "opening" << fileName << "stopped:" << why
                                 << (read.line ? QString::number(read.line) : read.error);
        return untitled();
    }
    m_currentFileName = fileName;
    UpdateCaption();
    UpdateSettingsDisplay();
}

void SerialTavo::UpdateCaption()
{
    setWindowTitle(tavo::windowCaption(m_currentFileName));
    m_fileNamePanel->setText(m_currentFileName.isEmpty() ? QString() : tavo::fileTitle(m_currentFileName));
}

void SerialTavo::UpdateSettingsDisplay()
{
    const QString text = tavo::SerialSettingsText(m_config);
    m_toolbar->SetButtonTooltipText(QStringLiteral("SETTINGS"),
                                    QStringLiteral("Set Tavo serial port settings (") + text
                                        + QLatin1Char(')'));
    m_settingsPanel->setText(QStringLiteral("Tavo settings = ") + text);
}

void SerialTavo::ExportConfig()
{
    try {
        m_commonDialog->SetFlags(CommonDialog::NoReadOnlyReturn | CommonDialog::OverwritePrompt);
        m_commonDialog->SetFileName(tavo::proposedExportName(m_currentFileName));
        m_commonDialog->SetFilter(ExportFilter);
        m_commonDialog->showSave();
        const QString path = m_commonDialog->FileName();
        if (path.isEmpty())
            return;
        if (const auto written = tavo::writeExportFile(path, m_config); !written.ok())
            throw WriteFailed(path, written.error);
        m_prompter->show(path + QStringLiteral(" has been successfully exported"),
                         QStringLiteral("Successful"), Prompter::Icon::None, Prompter::Buttons::Ok,
                         Prompter::Answer::Ok);
    } catch (const std::exception &e) {
        qCInfo(lcFile) << "export failed:" << e.what();
        m_prompter->show(QStringLiteral("Failed to export!"), QStringLiteral("Error!"),
                         Prompter::Icon::Exclamation, Prompter::Buttons::Ok, Prompter::Answer::Ok);
    }
}

void SerialTavo::closeEvent(QCloseEvent *event)
{
    // EXITCROSS has asked already; the window's own close button asks here.
    if (m_exitApproved || QuerySave()) {
        m_exitApproved = true;
        event->accept();
    } else {
        event->ignore();
    }
}

bool SerialTavo::event(QEvent *event)
{
    if (event->type() == QEvent::Paint && m_deviceTypesDue && !m_deviceTypesQueued) {
        // After this paint pass, when the window is on screen.
        m_deviceTypesQueued = true;
        QTimer::singleShot(0, this, &SerialTavo::checkDeviceTypes);
    }
    return QMainWindow::event(event);
}

bool SerialTavo::eventFilter(QObject *watched, QEvent *event)
{
    if (watched == m_settingsPanel && event->type() == QEvent::MouseButtonRelease
        && static_cast<QMouseEvent *>(event)->button() == Qt::LeftButton
        && m_settingsPanel->rect().contains(static_cast<QMouseEvent *>(event)->position().toPoint())) {
        runCommand(QStringLiteral("SETTINGS"));
        return true;
    }
    return QMainWindow::eventFilter(watched, event);
}
