#include "SimulatedUnit.h"

#include "DeviceUnitServices.h"
#include "OutputControl.h"
#include "PortSlots.h"
#include "PtyUnit.h"
#include "SerialTavo.h"
#include "UnitLine.h"
#include "VirtualUnitWindow.h"

#include <QScreen>
#include <QStatusBar>
#include <QTimer>
#include <QToolButton>

namespace {

// Beside the main window on its right, as far as the screen allows.
void placeBeside(QWidget &unitWindow, const QWidget &mainWindow)
{
    unitWindow.adjustSize();
    const QRect main = mainWindow.frameGeometry();
    QPoint at(main.right() + 8, main.top());
    if (const QScreen *screen = mainWindow.screen()) {
        const QRect free = screen->availableGeometry();
        at.setX(std::max(free.left(), std::min(at.x(), free.right() - unitWindow.width())));
        at.setY(std::max(free.top(), std::min(at.y(), free.bottom() - unitWindow.height())));
    }
    unitWindow.move(at);
}

// A closed "Virtual unit" window is only hidden: the unit goes on running
// behind port slot 1, and this button in the main window's status bar
// brings its window back.
void addReopenButton(SerialTavo &window, QWidget &unitWindow)
{
    auto *button = new QToolButton(window.statusBar());
    button->setObjectName(QStringLiteral("VirtualUnitButton"));
    button->setText(QStringLiteral("Virtual unit"));
    button->setToolTip(QStringLiteral("Show the Virtual unit window"));
    button->setAutoRaise(true);
    QObject::connect(button, &QToolButton::clicked, &unitWindow, [&unitWindow] {
        unitWindow.show();
        unitWindow.raise();
        unitWindow.activateWindow();
    });
    window.statusBar()->addPermanentWidget(button);
}

} // namespace

std::unique_ptr<VirtualUnitWindow> openVirtualUnit(UnitLine &line, const QString &connection,
                                                   SerialTavo &window, DeviceUnitServices &units)
{
    VirtualUnitWindow::Editor editor;
    editor.fileName = [&window] { return window.CurrentFileName(); };
    editor.shownConfig = [&window] {
        ConfigData shown = window.config();
        for (int n = 0; n < ConfigData::OutputCount; ++n)
            window.OutputControl1(n)->collateInto(shown);
        return shown;
    };
    auto unitWindow = std::make_unique<VirtualUnitWindow>(line, std::move(editor), connection);
    // Closing the main window ends the program, this one open or not.
    unitWindow->setAttribute(Qt::WA_QuitOnClose, false);
    QObject::connect(&window, &SerialTavo::configurationChanged, unitWindow.get(),
                     &VirtualUnitWindow::editorChanged);
    units.setDialogsWindowModal(true);
    addReopenButton(window, *unitWindow);
    return unitWindow;
}

SimulatedUnit::SimulatedUnit(PortSlots &ports, QString *why)
    : m_pty(std::make_unique<PtyUnit>())
{
    QString reason;
    if (m_pty->start(&reason)) {
        ports.setName(1, m_pty->slavePath());
        return;
    }
    m_pty.reset();
    m_inProcess = std::make_unique<UnitLine>();
    if (why)
        *why = reason;
}

SimulatedUnit::~SimulatedUnit() = default;

UnitLine &SimulatedUnit::line()
{
    return m_pty ? m_pty->line() : *m_inProcess;
}

QString SimulatedUnit::connection() const
{
    if (m_pty)
        return QStringLiteral("on %1, port slot 1").arg(m_pty->slavePath());
    return QStringLiteral("in this program, port slot 1");
}

VirtualUnitWindow &SimulatedUnit::showWindow(SerialTavo &window, DeviceUnitServices &units)
{
    m_window = openVirtualUnit(line(), connection(), window, units);
    QObject::connect(&line(), &UnitLine::pluggedIn, m_window.get(), [this, &units] { pluggedIn(units); });
    // Once the main window has taken its size.
    QTimer::singleShot(0, m_window.get(), [this, &window] {
        placeBeside(*m_window, window);
        m_window->show();
    });
    return *m_window;
}

void SimulatedUnit::pluggedIn(DeviceUnitServices &units)
{
    // Unplugging closed the terminal; plugged in again, the unit is on a
    // new one, as a unit on a USB adapter comes back on a new device.
    if (!m_pty || m_pty->isRunning() || !m_pty->start())
        return;
    units.setPortName(1, m_pty->slavePath());
    m_window->setConnection(connection());
}
