#pragma once

#include "ConfigData.h"
#include "UnitSimulator.h"

#include <QByteArray>
#include <QTime>
#include <QWidget>

#include <array>
#include <functional>
#include <optional>

class QLabel;
class QListWidget;
class QPushButton;
class QTimer;
class SerialEditor;
class UnitLamps;
class UnitLine;

// The "Virtual unit" window: the simulated unit of `serial-tavo-editor
// --simulate`, beside the main window, so that a configuration can be
// tried at the desk. It shows what the unit does (its output lamps, what
// it holds and listens at, the bytes it received last with the part it
// recognised marked, a history of what switched what), lets the user talk
// to it as any other sender on its line would (a code editor with Send,
// and a button for each output's On and Off code in the editor), and
// holds the fault switches.
//
// Everything follows the unit as it happens, also while the modal test
// and programming dialogs talk to it: the unit lives in the event loop,
// which their waits keep turning.
class VirtualUnitWindow : public QWidget
{
    Q_OBJECT

public:
    // What the window knows of the editor: the name of the file it has
    // open (empty when untitled) and its configuration as the panels show
    // it now, unsaved edits included.
    struct Editor {
        std::function<QString()> fileName;
        std::function<ConfigData()> shownConfig;
    };

    // `connection` says where the host finds the unit: "on /dev/pts/4,
    // port slot 1".
    VirtualUnitWindow(UnitLine &line, Editor editor, const QString &connection, QWidget *parent = nullptr);
    ~VirtualUnitWindow() override;

    void setConnection(const QString &connection);

public slots:
    // The editor's configuration has changed: the code buttons and the
    // note about an older configuration follow it.
    void editorChanged();

protected:
    void changeEvent(QEvent *event) override;

private:
    // Whether the unit holds the image `config` makes.
    bool holds(const ConfigData &config) const;
    QWidget *makeStatus();
    QWidget *makeTalk();
    QWidget *makeCodeButtons();
    void heard(const QByteArray &bytes, const QString &settings);
    void switched(const UnitSwitch &change);
    void imageReceived();
    void addHistory(const QString &line);
    void addEvent(const QString &event);
    void showLamps();
    void showReceived();
    void showHolding();
    void sendCode(int output, bool on);
    void send(const QByteArray &bytes);

    UnitLine &m_line;
    Editor m_editor;
    ConfigData m_shown;

    UnitLamps *m_lamps;
    QTimer *m_tick;
    QLabel *m_identity;
    QLabel *m_holding;
    QLabel *m_listening;
    QLabel *m_note;
    SerialEditor *m_received;
    QLabel *m_receivedAt;
    QListWidget *m_history;
    SerialEditor *m_sendEditor;
    std::array<QPushButton *, ConfigData::OutputCount> m_onButtons{};
    std::array<QPushButton *, ConfigData::OutputCount> m_offButtons{};

    // What came over the line last, and how much of its end the unit
    // recognised.
    QByteArray m_receivedBytes;
    QString m_receivedSettings;
    qint64 m_lastHeardMs = 0;
    int m_recognised = 0;
    QStringList m_recognisedAs;
    // Where the unit's configuration came from: the editor's file (empty
    // when untitled), or nothing when it was not what the editor showed,
    // as from `tavo program` on the unit's pseudo-terminal.
    std::optional<QString> m_programmedFrom;
    QTime m_programmedAt;
};
