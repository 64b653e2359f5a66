#include "VqUtil/Files/FolderChanges.h"

#include "VqUtil/Platform/Posix/FileDescriptor.h"

#include <QDeadlineTimer>
#include <QFile>
#include <cerrno>
#include <cstring>
#include <poll.h>
#include <sys/eventfd.h>
#include <sys/inotify.h>

namespace Velquor::Util {

namespace {

// Not IN_MODIFY: the log lies in the watched folder, and each of its lines would wake every process of the user. A file that is
// rewritten is closed afterwards.
constexpr uint32_t watchedEvents = IN_CREATE | IN_DELETE | IN_CLOSE_WRITE | IN_MOVED_FROM | IN_MOVED_TO | IN_DELETE_SELF
                                   | IN_MOVE_SELF | IN_ONLYDIR | IN_EXCL_UNLINK;
constexpr uint32_t endingEvents = IN_DELETE_SELF | IN_MOVE_SELF | IN_IGNORED | IN_UNMOUNT;

FolderChanges::Kind kindOf(uint32_t mask) {
    if (mask & IN_CREATE)
        return FolderChanges::Kind::Added;
    if (mask & IN_DELETE)
        return FolderChanges::Kind::Removed;
    if (mask & IN_MOVED_FROM)
        return FolderChanges::Kind::RenamedFrom;
    if (mask & IN_MOVED_TO)
        return FolderChanges::Kind::RenamedTo;
    return mask & IN_CLOSE_WRITE ? FolderChanges::Kind::Modified : FolderChanges::Kind::Unknown;
}

} // namespace

struct FolderChanges::Native {
    FileDescriptor notifications{::inotify_init1(IN_CLOEXEC | IN_NONBLOCK)};
    int code = errno;
    FileDescriptor waker{::eventfd(0, EFD_CLOEXEC | EFD_NONBLOCK)};
    int watch = -1;

    [[nodiscard]] Outcome read(QVector<Change>* changes);
    [[nodiscard]] Outcome take(const inotify_event& event, QVector<Change>* changes);
    [[nodiscard]] bool wasWoken() const {
        quint64 count = 0;
        return ::read(waker.get(), &count, sizeof count) == sizeof count;
    }
};

FolderChanges::FolderChanges()
    : m_native(new Native) {}

FolderChanges::~FolderChanges() = default;

Result<void> FolderChanges::usable() const {
    if (m_native->notifications.isValid() && m_native->waker.isValid())
        return {};
    return Failure{qt_error_string(m_native->code)};
}

// A new inotify instance each time: events queued in the old one belong to a folder that is gone.
Result<void> FolderChanges::open(const QString& folder) {
    m_native->watch = -1;
    m_native->notifications.reset(::inotify_init1(IN_CLOEXEC | IN_NONBLOCK));
    if (m_native->notifications.isValid())
        m_native->watch =
            ::inotify_add_watch(m_native->notifications.get(), QFile::encodeName(folder).constData(), watchedEvents);
    m_native->code = errno;
    if (m_native->watch >= 0)
        return {};
    return Failure{qt_error_string(m_native->code)};
}

FolderChanges::Outcome FolderChanges::wait(int timeoutMs, QVector<Change>* changes) {
    const QDeadlineTimer deadline = timeoutMs < 0 ? QDeadlineTimer(QDeadlineTimer::Forever) : QDeadlineTimer(timeoutMs);
    for (;;) {
        const int watched = m_native->watch >= 0 ? m_native->notifications.get() : -1;
        pollfd sources[] = {{m_native->waker.get(), POLLIN, 0}, {watched, POLLIN, 0}};
        const int ready = ::poll(sources, 2, static_cast<int>(deadline.remainingTime()));
        if (ready == 0)
            return Outcome::TimedOut;
        if (ready < 0 && errno != EINTR)
            return Outcome::Gone;
        if (ready > 0 && m_native->wasWoken())
            return Outcome::Woken;
        if (ready > 0 && sources[1].revents != 0) {
            const Outcome result = m_native->read(changes);
            if (result != Outcome::Changed || !changes->isEmpty())
                return result;
        }
    }
}

FolderChanges::Outcome FolderChanges::Native::read(QVector<Change>* changes) {
    alignas(inotify_event) char buffer[16 * 1024];
    const ssize_t length = ::read(notifications.get(), buffer, sizeof buffer);
    if (length < 0)
        return errno == EAGAIN || errno == EINTR ? Outcome::Changed : Outcome::Gone;
    Outcome result = Outcome::Changed;
    for (ssize_t place = 0; place < length && result != Outcome::Gone;) {
        const auto* const event = reinterpret_cast<const inotify_event*>(buffer + place);
        place += static_cast<ssize_t>(sizeof(inotify_event) + event->len);
        const Outcome outcome = take(*event, changes);
        if (outcome != Outcome::Changed)
            result = outcome;
    }
    return result;
}

FolderChanges::Outcome FolderChanges::Native::take(const inotify_event& event, QVector<Change>* changes) {
    if (event.mask & IN_Q_OVERFLOW)
        return Outcome::Overflow;
    if (event.wd != watch)
        return Outcome::Changed;
    if (event.mask & endingEvents) {
        watch = -1;
        return Outcome::Gone;
    }
    if (event.len == 0 || (event.mask & IN_ISDIR))
        return Outcome::Changed;
    const Change change{kindOf(event.mask), QFile::decodeName(event.name)};
    // Rewriting a file causes several equal events in a row.
    if (changes->isEmpty() || !(changes->last() == change))
        changes->append(change);
    return Outcome::Changed;
}

void FolderChanges::wake() {
    const quint64 one = 1;
    // A failure means that the counter is full, so the waiter is awake already.
    [[maybe_unused]] const ssize_t written = ::write(m_native->waker.get(), &one, sizeof one);
}

} // namespace Velquor::Util
