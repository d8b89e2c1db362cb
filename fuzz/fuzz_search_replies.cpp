// Whatever comes back on the line while the program searches for a unit
// and downloads into it, in virtual time.
//
// Input: one byte of options (whether the search restarts the unit), then
// the line's answers: every write of the program takes the next chunk,
// <delay> <length> <bytes...>, and those bytes arrive <delay> ms later.
// When the input runs out the line falls silent.
//
// Invariants for the search: it ends within its passes (a bounded number of
// waits and of virtual time); it returns 0, or a value whose top byte is 0,
// whose low byte is a reply code of the device-type table, and whose three
// bytes stand in one reply the program read, followed there by the check
// byte that makes the four add up to 255 modulo 256.
// For the download that follows: it ends after at most four attempts per
// block; it reports success exactly when it shows no message and its
// progress reached 100%, and a failure with one of its two messages.
#include "FuzzCheck.h"
#include "ScriptedPrompter.h"
#include "SimulatedLink.h"
#include "VellProtocol.h"
#include "VellTypes.h"
#include "VirtualWaiter.h"

#include <cstdint>

namespace {

// A port with nothing on it but the answers the input dictates.
class ScriptedLine : public SimulatedLink
{
public:
    ScriptedLine(VirtualClock &clock, const std::uint8_t *data, std::size_t size)
        : SimulatedLink(clock)
        , m_data(data)
        , m_size(size)
    {}

    void Output(const QByteArray &bytes) override
    {
        SimulatedLink::Output(bytes);
        if (m_pos + 2 > m_size)
            return;
        const int delay = m_data[m_pos] * 3; // 0 to 765 ms: within, around and past every wait
        const std::size_t length = m_data[m_pos + 1] % 16;
        m_pos += 2;
        const std::size_t take = std::min(length, m_size - m_pos);
        injectInput(CommPort(), QByteArray(reinterpret_cast<const char *>(m_data + m_pos), qsizetype(take)),
                    delay);
        m_pos += take;
    }

private:
    const std::uint8_t *m_data;
    std::size_t m_size;
    std::size_t m_pos = 0;
};

bool isSearchSetting(const QString &settings)
{
    static const QStringList searchSettings = VellProtocol::searchSettings();
    return searchSettings.contains(settings);
}

// The found value's three bytes and their check byte, somewhere in one
// reply read at a search setting.
bool foundInAReply(const SimulatedLink &link, std::int32_t found)
{
    const auto b0 = static_cast<std::uint8_t>(found & 0xFF);
    const auto b1 = static_cast<std::uint8_t>((found >> 8) & 0xFF);
    const auto b2 = static_cast<std::uint8_t>((found >> 16) & 0xFF);
    for (const SimulatedLink::Event &e : link.events()) {
        if (e.kind != SimulatedLink::Event::Kind::Read || !isSearchSetting(e.settings))
            continue;
        const QByteArray &r = e.bytes;
        for (qsizetype p = 0; p + 4 <= r.size(); ++p) {
            const auto at = [&](qsizetype i) { return static_cast<std::uint8_t>(r.at(p + i)); };
            if (at(0) == b0 && at(1) == b1 && at(2) == b2 && ((1 + b0 + b1 + b2 + at(3)) & 0xFF) == 0)
                return true;
        }
    }
    return false;
}

int writesOf(const SimulatedLink &link, char command)
{
    int n = 0;
    for (const SimulatedLink::Event &e : link.writes())
        n += e.bytes == QByteArray(1, command) && e.settings == VellProtocol::commandSetting();
    return n;
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t *data, std::size_t size)
{
    if (size < 1)
        return 0;
    const bool restart = (data[0] & 1) != 0;

    VirtualClock clock;
    ScriptedLine line(clock, data + 1, size - 1);
    VirtualWaiter waiter(clock);
    ScriptedPrompter prompter;
    const VellTypes types;
    VellProtocol protocol(line, waiter, prompter, types);
    line.setPortKind(1, SimulatedLink::PortKind::Empty);
    line.SetCommPort(1);
    line.SetPortOpen(true);

    // --- search -------------------------------------------------------------
    const std::int32_t found = protocol.Find_vell(restart);
    // Line reset, three passes of seven settings with eight waits each, a
    // dumb restart (two waits) after each pass, four restart attempts (two
    // waits each) after a find.
    constexpr std::size_t MaxSearchWaits = 1 + 3 * 7 * 8 + 3 * 2 + 4 * 2;
    constexpr qint64 MaxSearchMs = 200 + 3 * 7 * (7 * 10 + 100) + 3 * (10 + 3000) + 4 * (10 + 500);
    FUZZ_CHECK(waiter.waits().size() <= MaxSearchWaits);
    FUZZ_CHECK(clock.now() <= MaxSearchMs);
    if (found != 0) {
        FUZZ_CHECK((found & ~0xFFFFFF) == 0);
        FUZZ_CHECK(types.indexOfReply(found & 0xFF) >= 0);
        FUZZ_CHECK(foundInAReply(line, found));
    }
    // Without a restart the search never sends a command byte.
    if (!restart)
        FUZZ_CHECK(writesOf(line, 0x33) == 0);
    FUZZ_CHECK(line.PortOpen());

    // --- download -----------------------------------------------------------
    const qsizetype messagesBefore = prompter.shown().size();
    QList<int> progress;
    protocol.onProgress = [&](const QString &, int value) { progress.append(value); };
    const qint64 downloadStart = clock.now();
    const bool downloaded = protocol.Configure_Vell(VellProtocol::ImageSize);
    FUZZ_CHECK(writesOf(line, 0x11) <= 32 * VellProtocol::Attempts);
    FUZZ_CHECK(clock.now() - downloadStart <= 32 * VellProtocol::Attempts * (10 + 500));
    const QList<ScriptedPrompter::Shown> messages = prompter.shown().mid(messagesBefore);
    if (downloaded) {
        FUZZ_CHECK(messages.isEmpty());
        FUZZ_CHECK(progress.size() == 33 && progress.last() == 1000);
    } else {
        FUZZ_CHECK(messages.size() == 1);
        FUZZ_CHECK(messages.first().text == QStringLiteral("No reply to download")
                   || messages.first().text == QStringLiteral("Reply to download failed"));
        // The title names the block that failed: the one after those shown.
        FUZZ_CHECK(messages.first().title == QStringLiteral("Error!  %1").arg(progress.size()));
        FUZZ_CHECK(progress.isEmpty() || progress.last() < 1000);
    }
    return 0;
}
