#pragma once

#include "VellProtocol.h"

#include <QAbstractButton>
#include <QDialog>
#include <QPointer>

#include <array>
#include <functional>
#include <memory>

class Prompter;
class QFrame;
class QLabel;
class QPushButton;
class SerialLink;
class VellTypes;
class Waiter;

// What the dialogs that talk to a unit have in common: the port search of
// every activation, and a safe way out while the serial code waits.
//
// The serial routines wait in nested event loops, so the user can close
// the dialog (Cancel, Done, Escape, the window's close button) in the
// middle of a wait. Closing sets the waiter's abort flag, which makes the
// wait in progress and every later one return at once, closes the port and
// hides the dialog; the routine then unwinds on its own, opening, writing
// and showing nothing more. The protocol is kept alive by the running
// routine itself, so even a dialog deleted during a wait leaves nothing
// dangling.
class UnitDialog : public QDialog
{
    Q_OBJECT

public:
    // The serial side, owned by whoever opens the dialog.
    struct Parts {
        SerialLink &link;
        Waiter &waiter;
        Prompter &prompter;
        const VellTypes &types;
    };

    ~UnitDialog() override;

    VellProtocol &protocol();
    // A search or programming run is in progress.
    bool busy() const { return m_busy; }

    // Every way of closing ends here: the abort flag is set so that a
    // running search or download stops, and the port is closed.
    void done(int result) override;

signals:
    // The search of an activation or of the search button has ended (also
    // when it was cut short).
    void searchFinished();

protected:
    UnitDialog(const Parts &parts, QWidget *parent);

    // Runs after the dialog has been shown and painted, every time it is
    // shown.
    virtual void Form_Activate() = 0;
    // "Search for Tavo": also after the user has chosen other ports.
    virtual void Command1_Click() = 0;
    // Mirrors one slot of the search in the slot's widgets.
    virtual void applySlot(int slot, const SearchSlot &state) = 0;

    // Runs `work` on the protocol unless something else runs already.
    // False when it could not run, was aborted, or the dialog is gone by
    // its end: then the caller returns at once and touches nothing.
    bool run(const std::function<void(VellProtocol &)> &work);
    // search_for_vell through run(), with Command1 held off meanwhile.
    bool search();
    bool aborted() const;
    void closePort();

    // The row of slot i: its option button, the system name of its port
    // (the adapter's description as the tooltip) and what answered there,
    // with the cover Blanking(i) lying on top of it while the port is
    // searched.
    struct SlotRow {
        QWidget *row;
        QLabel *portName;
        QFrame *blanking;
    };
    SlotRow makeSlotRow(int slot, QWidget *option, QWidget *type);
    // Below the slots: why a slot's port could not be opened ("Slot 2:
    // /dev/ttyUSB0 is in use by another program"), so that a user who
    // expected a unit there knows what to do; hidden while there is none.
    QLabel *portProblems() const { return m_portProblems; }
    // Why something else the dialog did with a port went wrong (a test
    // string that could not go out), on the same label; empty clears it.
    void notePortProblem(const QString &problem);
    // "Ports...", beside the search button: which system ports the slots
    // use (see PortChooser). Hidden on a line whose ports are fixed, and
    // disabled when the program was started with every slot named.
    QPushButton *makePortsButton();
    void showPort(QLabel *label, const SearchSlot &state);
    // Mirrors one slot of the search in its row: the cover, what answered
    // (a text box in one dialog, a label in the other), the option button
    // and, once searched, the port.
    template <typename TypeWidget>
    void showSlot(const SearchSlot &state, QWidget *blanking, TypeWidget *type, QAbstractButton *option,
                  QLabel *portName)
    {
        blanking->setVisible(state.covered);
        type->setText(state.text);
        type->setVisible(state.textVisible);
        type->setEnabled(state.textEnabled);
        option->setVisible(state.optionVisible);
        option->setEnabled(state.optionEnabled);
        option->setChecked(state.optionValue);
        if (!state.covered)
            showPort(portName, state);
    }
    // `cover` takes the same place as `content`, on top of it.
    static QWidget *stacked(QWidget *content, QWidget *cover, QWidget *parent);

    void showEvent(QShowEvent *event) override;

    SerialLink &m_link;
    Waiter &m_waiter;
    QWidget *m_searchButton = nullptr;

private:
    void noteOpenError(int slot, const SearchSlot &state);
    void showPortProblems();
    void choosePorts();

    struct Session;
    std::shared_ptr<Session> m_session;
    bool m_busy = false;
    QLabel *m_portProblems = nullptr;
    QPushButton *m_portsButton = nullptr;
    std::array<QString, VellProtocol::SlotCount> m_openErrors;
    QString m_otherProblem;
};
