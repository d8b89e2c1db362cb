#pragma once

#include "SerialEditorData.h"

#include <string>
#include <string_view>

// A packed message text read field by field, with what stopped the reading
// when it could not be read. UnpackFromString() is built on it; the
// command line's strict reading of configuration files uses the details to
// say exactly what is wrong with a damaged code line.
//
// Fields are numbered from 1: 1 the byte count, 2 the cursor, 3 the entry
// mode, 4 whether ignore bytes are allowed, then value and type of byte k
// (from 0) in fields 5 + 2k and 6 + 2k.
struct PackedReading {
    enum class Fault {
        None,
        Empty,              // no text at all
        FieldNotClosed,     // `field` has no comma after it (or is missing)
        ModeOutOfRange,     // the entry mode is not 0 to 6
        IgnoreFieldInvalid, // the ignore field is neither "0" nor "1"
        TypeOutOfRange,     // the type of byte `byteIndex` is not 0 to 6
        CountBeyondSlots,   // the count needs more than the 15 slots
        NumberBeyond16Bits, // `field` holds a number beyond 16 bits
    };

    Fault fault = Fault::None;
    int field = 0;
    int byteIndex = -1;
    // The first field (of those read) that is not a plain number as a whole,
    // though its leading number was taken ("12abc", ""); 0 when none.
    int looseField = 0;
    // What was read; complete only when fault is None.
    SerialEditorData message;
    // The text after the bytes' fields: empty, or the extra pair the writer
    // adds ("0,0,"); anything else is not part of a code.
    std::string rest;

    bool ok() const { return fault == Fault::None; }
};

// Never throws; faults that UnpackFromString() raises are reported here as
// CountBeyondSlots and NumberBeyond16Bits.
PackedReading readPackedText(std::string_view text);
