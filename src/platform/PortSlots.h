#pragma once

#include <QString>
#include <QStringList>

#include <array>

// The four port slots of the search (slot 1 to 4) and the system port each
// one stands for.
//
// Names come from --ports A,B,C,D or the TAVO_PORTS variable (same form;
// an empty item leaves a slot without a port). Otherwise COM1 to COM4 on
// Windows, and elsewhere the first four ports the system lists. Listing
// the system's ports walks every terminal device it has, so that is put off
// until a name is first asked for: the editor shows its window without it.
class PortSlots
{
public:
    static constexpr int Count = 4;

    PortSlots() = default;
    explicit PortSlots(const QStringList &names);

    // From a comma-separated list (--ports / TAVO_PORTS).
    static PortSlots fromList(const QString &commaSeparated);
    // TAVO_PORTS when set, else the platform's default slots.
    static PortSlots fromEnvironment();
    static PortSlots systemDefault();

    // Port name of slot 1..4, empty when the slot has none (or out of range).
    QString name(int port) const;
    // A name set here is kept when the system's list is taken later.
    void setName(int port, const QString &name);
    QStringList names() const;

private:
    void listSystemPortsIfDue() const;

    mutable QStringList m_names = QStringList(Count, QString());
    // The system's ports still have to be listed into the slots that were
    // not named explicitly.
    mutable bool m_listingDue = false;
    std::array<bool, Count> m_named{};
};
