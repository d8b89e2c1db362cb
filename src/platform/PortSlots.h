#pragma once

#include <QList>
#include <QString>
#include <QStringList>

#include <array>
#include <functional>
#include <optional>

// The four port slots of the search (slot 1 to 4) and the system port each
// one stands for.
//
// A slot's port comes, in this order of precedence:
//  - from --ports A,B,C,D or the TAVO_PORTS variable (same form; an empty
//    item leaves a slot without a port), or from the program itself (the
//    editor's simulated unit): the slot is named and stays so;
//  - from the user's choice in the unit dialogs, kept until the program
//    ends;
//  - otherwise from the ports the system has: the remaining slots take, in
//    order, the first ports no other slot has, adapters the system can
//    describe before the ports it knows nothing about (a built-in ttyS, a
//    pseudo-terminal). Today's USB adapters are rarely COM1 to COM4, so
//    every desktop does it so.
//
// The system's list is taken when it is first needed, and again after
// relist(), which every search calls, so that an adapter plugged in or
// pulled out since is seen. Listing walks every terminal device the system
// has, so nothing lists before a name or a description is asked for: the
// editor shows its window without it.
class PortSlots
{
public:
    static constexpr int Count = 4;

    // One port of the system, as a user picks it from a list.
    struct SystemPort {
        QString name;        // "ttyUSB0", "COM7"
        QString location;    // "/dev/ttyUSB0", "\\.\COM7"
        QString description; // "FT232R USB UART, FTDI"; may be empty
        // The system told us something about it (a USB adapter, a board's
        // port with a driver description); pseudo-terminals and ports
        // nothing is known of come after those.
        bool described = false;

        friend bool operator==(const SystemPort &, const SystemPort &) = default;
    };
    using Lister = std::function<QList<SystemPort>()>;

    // Four empty slots; the system's list only for descriptions.
    PortSlots();
    // Slots named in this order, fixed.
    explicit PortSlots(const QStringList &names);

    // From a comma-separated list (--ports / TAVO_PORTS).
    static PortSlots fromList(const QString &commaSeparated);
    // TAVO_PORTS when set, else the system's ports.
    static PortSlots fromEnvironment();
    // Every slot takes the system's ports, as `lister` lists them.
    static PortSlots systemDefault(Lister lister = listSystemPorts);

    // The system's serial ports, as QSerialPortInfo finds them.
    static QList<SystemPort> listSystemPorts();

    // Port name of slot 1..4, empty when the slot has none (or out of range).
    QString name(int port) const;
    QStringList names() const;
    // Names a slot for good: neither the system's list nor a user's choice
    // changes it.
    void setName(int port, const QString &name);
    bool isNamed(int port) const;

    // The system's ports as last listed (listing them if that is due), in
    // the order the slots take them.
    QList<SystemPort> systemPorts() const;
    // The next question lists the system's ports afresh.
    void relist() { m_listing.reset(); }
    // The system's description of a port, empty when it has none.
    QString description(const QString &portName) const;

    // What the user chose for a slot: a port name (empty: no port), or
    // nothing, which leaves the slot to the system's list.
    std::optional<QString> chosen(int port) const;
    void choose(int port, const std::optional<QString> &name);
    // The port a slot takes from the system's list when nobody chose one.
    QString listedName(int port) const;

private:
    // Described ports first, then by name, numbers compared as numbers
    // (COM2 before COM10): the order the slots take them in.
    static void sortForSlots(QList<SystemPort> &ports);
    static bool valid(int port) { return port >= 1 && port <= Count; }
    static std::size_t index(int port) { return static_cast<std::size_t>(port - 1); }

    Lister m_lister;
    // Whether the slots not named follow the system's list.
    bool m_followSystem = false;
    std::array<QString, Count> m_names{};
    std::array<bool, Count> m_named{};
    std::array<std::optional<QString>, Count> m_chosen{};
    mutable std::optional<QList<SystemPort>> m_listing;
};
