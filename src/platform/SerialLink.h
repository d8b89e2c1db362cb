#pragma once

#include <QByteArray>
#include <QString>

#include <stdexcept>

class PortSlots;

// A serial port as the unit protocol sees it: a port slot 1 to 4, a line
// setting given as text ("9600,n,8,1", "110,n,8,2"), bytes out, bytes in.
//
// The protocol code talks only to this interface, so the same routines run
// on QSerialPort in the program and on a simulated unit in virtual time in
// the tests.
class SerialLinkError : public std::runtime_error
{
public:
    using std::runtime_error::runtime_error;
};

class SerialLink
{
public:
    virtual ~SerialLink() = default;

    // Port slot 1 to 4. Changing it while the port is open is an error.
    virtual void SetCommPort(int port) = 0;
    virtual int CommPort() const = 0;

    // Opening a port that is missing or busy does not throw: the port just
    // stays closed, and PortOpen() tells.
    virtual void SetPortOpen(bool open) = 0;
    virtual bool PortOpen() const = 0;

    // "baud,parity,data,stop" with parity n, e, o (m and s too), data 5 to 8,
    // stop 1 or 2. Throws SerialLinkError for a text that is not such a
    // setting or that the open port refuses ("ttyUSB0 cannot run at 110
    // baud"), and keeps the setting it had. Takes effect at once when open;
    // a closed port takes any setting and tells at opening that it cannot
    // run at it (the port then stays closed, and lastError() says why).
    virtual void SetSettings(const QString &settings) = 0;
    virtual QString Settings() const = 0;

    // Holds the line low (a break) until it is turned off again, whatever
    // the line setting. Throws SerialLinkError when the port is closed or
    // cannot do it.
    virtual void setBreakEnabled(bool on) = 0;

    // Throws SerialLinkError when the port is closed or the write fails.
    virtual void Output(const QByteArray &bytes) = 0;
    // Everything received so far, removed from the input buffer.
    virtual QByteArray Input() = 0;
    virtual int InBufferCount() = 0;

    // What to call the port of a slot in front of a user: the system name
    // ("/dev/ttyUSB0", "COM3"), empty when the slot has no port.
    virtual QString portName(int port) const = 0;
    // Why the last attempt to open a port failed, for a person ("/dev/ttyUSB0
    // is in use by another program"); empty when it did not fail.
    virtual QString lastError() const { return {}; }
    // The adapter's own description, for a tooltip; may be empty.
    virtual QString portDescription(int port) const
    {
        Q_UNUSED(port);
        return {};
    }
    // The system's ports behind the slots, which the user may choose and
    // which are listed afresh for every search; none on a line whose ports
    // are fixed (a simulated one).
    virtual PortSlots *portSlots() { return nullptr; }
};
