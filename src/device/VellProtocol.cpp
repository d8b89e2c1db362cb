#include "VellProtocol.h"

#include "Logging.h"
#include "PortSlots.h"
#include "Prompter.h"
#include "SerialLink.h"
#include "VellTypes.h"
#include "Waiter.h"

#include <cmath>
#include <stdexcept>

namespace {

using namespace std::chrono_literals;

constexpr auto ResetWait = 200ms;
constexpr auto ByteGap = 10ms;
constexpr auto ProbeReplyWait = 100ms;
constexpr auto RestartBoot = 3000ms;
constexpr auto AckWait = 500ms;
constexpr auto PortSettle = 100ms;
constexpr int Passes = 3;

constexpr char RestartCommand = 0x33;
constexpr char DownloadCommand = 0x11;

const QString ErrorTitle = QStringLiteral("Error!");

std::uint8_t byteAt(const QByteArray &bytes, qsizetype i)
{
    return static_cast<std::uint8_t>(bytes.at(i));
}

} // namespace

QStringList VellProtocol::searchSettings()
{
    // 9600 first, since nearly every unit answers there, then fastest to
    // slowest.
    return {QStringLiteral("9600,n,8,2"),  QStringLiteral("38400,n,8,2"), QStringLiteral("28800,n,8,2"),
            QStringLiteral("19200,n,8,2"), QStringLiteral("14400,n,8,2"), QStringLiteral("4800,n,8,2"),
            QStringLiteral("2400,n,8,2")};
}

QByteArray VellProtocol::probe()
{
    return QByteArray("\xFFSETVEL", 7);
}

QByteArray VellProtocol::downloadBlock(const ConfigImage &image, int k)
{
    if (k < 0 || (k + 1) * 8 > ImageSize)
        throw std::out_of_range("download block past the end of the configuration image");
    QByteArray block(11, '\0');
    block[0] = static_cast<char>((k & 0xFF00) / 256);
    block[1] = static_cast<char>(k & 0xFF);
    for (int i = 0; i < 8; ++i)
        block[2 + i] = static_cast<char>(image[static_cast<std::size_t>(8 * k + i)]);
    int check = 0xFFFF;
    for (int i = 0; i < 10; ++i)
        check -= byteAt(block, i);
    block[10] = static_cast<char>(check & 0xFF);
    return block;
}

QString VellProtocol::versionText(std::int32_t found)
{
    return QString::number((found & 0x10FF00) / 256) + QLatin1Char('.')
           + QString::number((found & 0xFF0000) / 65536);
}

QString VellProtocol::progressText(int k, int count)
{
    if (count <= 0)
        return QStringLiteral("0.0%");
    // Tenths of a percent, halves rounded up, as the percentage format of
    // the original display did.
    const long long tenths = (2LL * k * 1000 + count) / (2LL * count);
    return QStringLiteral("%1.%2%").arg(tenths / 10).arg(tenths % 10);
}

VellProtocol::VellProtocol(SerialLink &link, Waiter &waiter, Prompter &prompter, const VellTypes &types)
    : m_link(link)
    , m_waiter(waiter)
    , m_prompter(prompter)
    , m_types(types)
{}

// A write or setting that fails (the adapter was pulled, the simulator
// went away) is treated like a byte lost on the line: the exchange simply
// gets no answer and takes its ordinary failure path and message.
bool VellProtocol::setSettings(const QString &settings)
{
    try {
        m_link.SetSettings(settings);
        return true;
    } catch (const SerialLinkError &e) {
        qCInfo(lcSerial) << "setting" << settings << "refused:" << e.what();
        return false;
    }
}

void VellProtocol::output(const QByteArray &bytes)
{
    if (aborted())
        return;
    try {
        m_link.Output(bytes);
    } catch (const SerialLinkError &e) {
        qCInfo(lcSerial) << "write of" << bytes.toHex(' ') << "failed:" << e.what();
    }
}

bool VellProtocol::aborted() const
{
    return m_waiter.AbortRequested();
}

void VellProtocol::discardInput()
{
    m_link.Input();
}

bool VellProtocol::wait(std::chrono::microseconds duration, int enoughBytes)
{
    if (enoughBytes <= 0)
        return m_waiter.wait(duration);
    return m_waiter.wait(duration, [this, enoughBytes] { return m_link.InBufferCount() >= enoughBytes; });
}

void VellProtocol::showError(const QString &text, const QString &title)
{
    if (aborted())
        return;
    m_prompter.show(text, title, Prompter::Icon::Exclamation, Prompter::Buttons::Ok, Prompter::Answer::Ok);
}

void VellProtocol::changed(int slot)
{
    if (slotChanged)
        slotChanged(slot, m_slots[static_cast<std::size_t>(slot)]);
}

void VellProtocol::progress(const QString &label, int value)
{
    if (onProgress)
        onProgress(label, value);
}

bool VellProtocol::reset_line()
{
    if (setSettings(resetSetting())) {
        output(QByteArray(1, '\0'));
        return wait(ResetWait);
    }
    // Many adapters cannot go down to 110 baud (FTDI chips stop at about
    // 183, many CP210x at 300). The unit only needs the line low as long
    // as the 00 would hold it, which a break does at any rate.
    return breakLine() && wait(ResetWait);
}

bool VellProtocol::breakLine()
{
    if (aborted())
        return false;
    try {
        m_link.setBreakEnabled(true);
    } catch (const SerialLinkError &e) {
        // The search goes on without the reset; a unit that was not in the
        // middle of something still answers.
        qCInfo(lcSerial) << "no break on the line:" << e.what();
        return true;
    }
    const bool waited = wait(ResetBreak);
    // Let go of the line even when the user gave up: a port left in a
    // break holds the unit in its reset.
    try {
        m_link.setBreakEnabled(false);
    } catch (const SerialLinkError &e) {
        qCInfo(lcSerial) << "break not released:" << e.what();
    }
    return waited;
}

std::int32_t VellProtocol::Find_vell(bool restart)
{
    if (!reset_line())
        return 0;

    const QByteArray probeBytes = probe();
    bool anythingAnswered = false;
    for (int pass = 0; pass < Passes; ++pass) {
        for (const QString &setting : m_searchSettings) {
            discardInput();
            // A rate the adapter cannot make finds nobody; the others may.
            if (!setSettings(setting))
                continue;
            for (qsizetype i = 0; i < probeBytes.size(); ++i) {
                // Only what comes after the last byte is the unit's answer;
                // echoes and noise from the bytes before are dropped here.
                if (i == probeBytes.size() - 1)
                    discardInput();
                output(probeBytes.mid(i, 1));
                if (!wait(ByteGap))
                    return 0;
            }
            if (!wait(ProbeReplyWait, 5))
                return 0;

            const int count = m_link.InBufferCount();
            if (count < 4)
                continue;
            anythingAnswered = true;
            // With more than five bytes the answer is taken to be the last
            // five; only the first four of them are checked and used.
            const int n = count > 5 ? count - 5 : 0;
            const QByteArray b = m_link.Input();
            if (b.size() < n + 4)
                continue;
            const int sum = 1 + byteAt(b, n) + byteAt(b, n + 1) + byteAt(b, n + 2) + byteAt(b, n + 3);
            if ((sum & 255) != 0)
                continue;
            if (m_types.indexOfReply(byteAt(b, n)) < 0)
                continue;
            if (restart)
                restart_unit();
            return byteAt(b, n) + byteAt(b, n + 1) * 256 + byteAt(b, n + 2) * 65536;
        }
        // Silence on every setting: nobody is there, and more passes would
        // only make an empty port slow. Rejected answers mean a unit that
        // may just be confused, so it is restarted and asked again.
        if (!anythingAnswered)
            return 0;
        if (restart && !dumbRestart())
            return 0;
    }
    return 0;
}

void VellProtocol::search_for_vell()
{
    // An adapter plugged in or pulled out since the last search counts.
    if (PortSlots *ports = m_link.portSlots())
        ports->relist();
    for (int i = 0; i < SlotCount; ++i) {
        SearchSlot &s = m_slots[static_cast<std::size_t>(i)];
        s.covered = true;
        s.optionValue = false;
        s.optionEnabled = false;
        s.optionVisible = false;
        changed(i);
    }

    for (int port = 1; port <= SlotCount; ++port)
        searchSlot(port);

    for (int i = 0; i < SlotCount; ++i) {
        SearchSlot &s = m_slots[static_cast<std::size_t>(i)];
        s.optionVisible = s.textVisible;
        s.optionValue = false;
        changed(i);
    }
}

void VellProtocol::searchSlot(int port)
{
    const int i = port - 1;
    SearchSlot &s = m_slots[static_cast<std::size_t>(i)];
    s.portName = m_link.portName(port);
    s.portDescription = m_link.portDescription(port);
    s.found = 0;

    openSlotPort(port);
    s.openError.clear();
    if (!m_link.PortOpen()) {
        s.text = nothingFound();
        s.optionEnabled = false;
        s.textVisible = false;
        // A slot without a port, or a port left alone because the user
        // gave up, has no reason to show.
        if (!aborted() && !s.portName.isEmpty())
            s.openError = m_link.lastError();
    } else {
        std::int32_t v = 0;
        try {
            v = Find_vell(true);
        } catch (const std::exception &e) {
            qCInfo(lcSerial) << "search of" << s.portName << "abandoned:" << e.what();
            v = 0;
        }
        s.found = v;
        s.textVisible = true;
        const bool serialTavo = (v & 255) == VellTypes::SerialTavoReply;
        s.textEnabled = serialTavo;
        s.optionEnabled = serialTavo;
        s.text = unitText(v);
    }

    if (m_link.PortOpen())
        m_link.SetPortOpen(false);
    s.covered = false;
    changed(i);
    if (slotSearched)
        slotSearched(i, s);
}

void VellProtocol::openSlotPort(int port)
{
    // A port that is missing, busy or misbehaving is no message box: the
    // slot shows nothing on it, and says why beside it.
    try {
        m_link.SetCommPort(port);
    } catch (const std::exception &e) {
        qCInfo(lcSerial) << "slot" << port << "cannot be chosen:" << e.what();
    }
    try {
        if (!aborted())
            m_link.SetPortOpen(true);
    } catch (const std::exception &e) {
        qCInfo(lcSerial) << "slot" << port << "cannot be opened:" << e.what();
    }
}

QString VellProtocol::unitText(std::int32_t found) const
{
    const int t = found & 255;
    QString text;
    if (t == VellTypes::SerialTavoReply) {
        text = QStringLiteral("Serial Tavo ");
    } else {
        const int row = m_types.indexOfReply(t);
        text = row >= 0 ? m_types.at(row).Name : nothingFound();
    }
    // Nothing found: the name of the row for code 0, if any, without a
    // version.
    if (found != 0)
        text += versionText(found);
    return text;
}

void VellProtocol::set_active_port()
{
    if (m_link.PortOpen())
        m_link.SetPortOpen(false);
    for (int i = 0; i < SlotCount; ++i) {
        if (!m_slots[static_cast<std::size_t>(i)].optionValue)
            continue;
        if (aborted())
            return;
        m_link.SetCommPort(i + 1);
        m_link.SetPortOpen(true);
        wait(PortSettle);
    }
}

void VellProtocol::chooseSlot(int slot)
{
    for (int i = 0; i < SlotCount; ++i) {
        SearchSlot &s = m_slots[static_cast<std::size_t>(i)];
        const bool chosen = i == slot;
        if (s.optionValue != chosen) {
            s.optionValue = chosen;
            changed(i);
        }
    }
}

int VellProtocol::chosenSlot() const
{
    for (int i = 0; i < SlotCount; ++i) {
        if (m_slots[static_cast<std::size_t>(i)].optionValue)
            return i;
    }
    return -1;
}

bool VellProtocol::sendRestartCommand()
{
    discardInput();
    setSettings(commandSetting());
    output(QByteArray(1, RestartCommand));
    if (!wait(ByteGap))
        return false;
    setSettings(dataSetting());
    output(QByteArray(1, '\xFF'));
    return true;
}

bool VellProtocol::dumbRestart()
{
    return sendRestartCommand() && wait(RestartBoot);
}

void VellProtocol::dumb_restart_unit()
{
    dumbRestart();
}

bool VellProtocol::restart_unit()
{
    for (int attemptsLeft = Attempts - 1;; --attemptsLeft) {
        if (!sendRestartCommand())
            return false;
        if (!wait(AckWait, 2))
            return false;
        if (m_link.InBufferCount() > 1) {
            const QByteArray b = m_link.Input();
            if (!b.isEmpty() && byteAt(b, 0) == Acknowledge)
                return true;
            if (attemptsLeft == 0) {
                showError(QStringLiteral("Reply fail to restart"), ErrorTitle);
                return false;
            }
        } else if (attemptsLeft == 0) {
            showError(QStringLiteral("No reply to restart"), ErrorTitle);
            return false;
        }
    }
}

bool VellProtocol::Configure_Vell(int length)
{
    m_blockCount = static_cast<int>(std::ceil(length / 8.0));
    m_blocksAcknowledged = 0;
    discardInput();

    for (int k = 0; k < m_blockCount; ++k) {
        const QByteArray block = downloadBlock(m_image, k);
        // The title carries the block number the way the number-to-text
        // conversion wrote it, with a blank for the sign: "Error!  5".
        const QString title = ErrorTitle + QStringLiteral("  ") + QString::number(k);
        for (int attemptsLeft = Attempts - 1;; --attemptsLeft) {
            setSettings(commandSetting());
            output(QByteArray(1, DownloadCommand));
            if (!wait(ByteGap))
                return false;
            setSettings(dataSetting());
            output(block);
            if (!wait(AckWait, 2))
                return false;
            // Nothing is flushed between attempts: a lone byte from one
            // attempt is still there to be read as the first byte of the
            // next answer.
            if (m_link.InBufferCount() > 1) {
                const QByteArray b = m_link.Input();
                if (!b.isEmpty() && byteAt(b, 0) == Acknowledge)
                    break;
                if (attemptsLeft == 0) {
                    showError(QStringLiteral("Reply to download failed"), title);
                    return false;
                }
            } else if (attemptsLeft == 0) {
                showError(QStringLiteral("No reply to download"), title);
                return false;
            }
        }
        m_blocksAcknowledged = k + 1;
        // The bar shows the blocks before this one; the end state is set
        // after the loop.
        const int value = static_cast<int>((2LL * k * 1000 + m_blockCount) / (2LL * m_blockCount));
        progress(progressText(k, m_blockCount), value);
    }
    progress(QStringLiteral("100%"), 1000);
    return true;
}

VellProtocol::ProgramResult VellProtocol::program_unit()
{
    m_lastFound = 0;
    m_blocksAcknowledged = 0;
    progress(QStringLiteral("0%"), 0);
    if (!m_link.PortOpen()) {
        showError(QStringLiteral("Port not open"), ErrorTitle);
        return ProgramResult::PortNotOpen;
    }
    m_lastFound = Find_vell(false);
    if (m_lastFound == 0) {
        showError(QStringLiteral("Tavo not responding"), ErrorTitle);
        return ProgramResult::NotResponding;
    }
    if (m_requireSerialTavo && (m_lastFound & 255) != VellTypes::SerialTavoReply)
        return ProgramResult::NotSerialTavo;
    if (!Configure_Vell(ImageSize))
        return ProgramResult::Finished;
    if (restart_unit()) {
        if (aborted())
            return ProgramResult::Finished;
        const Prompter::Answer answer =
            m_prompter.show(QStringLiteral("Program another tavo"), QStringLiteral("All sent ok"),
                            Prompter::Icon::Question, Prompter::Buttons::YesNo, Prompter::Answer::No);
        return answer == Prompter::Answer::No ? ProgramResult::Finished : ProgramResult::ProgramAnother;
    }
    showError(QStringLiteral("Program failed, Tavo will fail to operate correctly until reprogrammmed, Try "
                             "powering the tavo off/wait/on and reprogram again"),
              ErrorTitle);
    return ProgramResult::RestartFailed;
}

VellProtocol::ProgramResult VellProtocol::programChosenSlot()
{
    ProgramResult r = ProgramResult::Finished;
    do {
        set_active_port();
        r = program_unit();
    } while (r == ProgramResult::ProgramAnother);
    if (m_link.PortOpen())
        m_link.SetPortOpen(false);
    return r;
}
