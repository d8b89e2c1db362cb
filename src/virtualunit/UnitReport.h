#pragma once

#include "ConfigData.h"
#include "SerialEditorData.h"
#include "UnitSimulator.h"

#include <QByteArray>
#include <QString>
#include <QTime>

// The words and pictures the Virtual unit window puts to what the simulated
// unit does. Kept apart from the widgets so that each text is made in one
// place.
namespace UnitReport {

// Bytes the unit received, typed for the code editor's drawing: where they
// hold a code of `config` (the editor's), its bytes take the types the user
// gave them ("LIGHTS ON,CR"); elsewhere printable characters show as ASCII,
// control characters by name and the rest in hexadecimal. Only the last
// bytes that fit a message are kept.
SerialEditorData typedBytes(const QByteArray &bytes, const ConfigData &config);

// What a switch did: "output 1 on", "output 4 on for 5 s", "map: outputs 1, 8
// on, the others off", "output 4 off: its period is over".
QString switchText(const UnitSwitch &change);

// A line of the history: "14:03:12  LIGHTS ON,CR -> output 1 on", or
// without bytes "14:03:17  output 4 off: its period is over".
QString historyLine(const QTime &time, const UnitSwitch &change, const ConfigData &config);
// Any other event of the history: "14:03:12  configuration received".
QString historyLine(const QTime &time, const QString &event);

// How long a pulse has left, to the tenth of a second: "4.2 s".
QString remainingText(qint64 ms);

// "Serial Tavo 1.0 (type code 22)".
QString identity(const UnitConfig &config);

} // namespace UnitReport
