#pragma once

#include <QString>
#include <QStringList>

// The four port slots of the search (slot 1 to 4) and the system port each
// one stands for.
//
// Names come from --ports A,B,C,D or the TAVO_PORTS variable (same form;
// an empty item leaves a slot without a port). Otherwise COM1 to COM4 on
// Windows, and elsewhere the first four ports the system lists.
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
    void setName(int port, const QString &name);
    QStringList names() const { return m_names; }

private:
    QStringList m_names = QStringList(Count, QString());
};
