#include "config/terminationsignals.h"

#include <QSocketNotifier>

#include <array>
#include <cerrno>
#include <csignal>
#include <cstdint>
#include <sys/eventfd.h>
#include <unistd.h>

namespace {

constexpr std::array kHandled = {SIGTERM, SIGINT, SIGPIPE};

volatile std::sig_atomic_t s_requested = 0;
volatile std::sig_atomic_t s_handle = -1;
std::array<struct sigaction, kHandled.size()> s_previous;

/// Runs between any two instructions: nothing but a flag and write(), see signal-safety(7).
void onSignal(int)
{
    const int savedError = errno;
    s_requested = 1;
    const std::uint64_t one = 1;
    // A full counter wakes the loop as well, and nothing can be told from here.
    [[maybe_unused]] const ssize_t written = ::write(s_handle, &one, sizeof one);
    errno = savedError;
}

void install()
{
    for (std::size_t i = 0; i < kHandled.size(); ++i) {
        struct sigaction action = {};
        action.sa_handler = kHandled[i] == SIGPIPE ? SIG_IGN : onSignal;
        action.sa_flags = SA_RESTART;
        sigemptyset(&action.sa_mask);
        sigaction(kHandled[i], &action, &s_previous[i]);
    }
}

} // namespace

TerminationSignals::TerminationSignals(QObject *parent)
    : QObject(parent)
    , m_handle(::eventfd(0, EFD_CLOEXEC | EFD_NONBLOCK))
{
    Q_ASSERT(s_handle < 0);
    if (m_handle >= 0) {
        m_notifier = new QSocketNotifier(m_handle, QSocketNotifier::Read, this);
        connect(m_notifier, &QSocketNotifier::activated, this, &TerminationSignals::arrived);
    }
    s_requested = 0;
    s_handle = m_handle;
    install();
}

TerminationSignals::~TerminationSignals()
{
    for (std::size_t i = 0; i < kHandled.size(); ++i)
        sigaction(kHandled[i], &s_previous[i], nullptr);
    s_handle = -1;
    delete m_notifier; // before the handle that it watches
    if (m_handle >= 0)
        ::close(m_handle);
}

bool TerminationSignals::isRequested()
{
    return s_requested != 0;
}

void TerminationSignals::arrived()
{
    m_notifier->setEnabled(false);
    emit terminate();
}
