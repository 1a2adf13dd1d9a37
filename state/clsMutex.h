#pragma once
// The connection lock: one instance of the panel per position of the
// microscope list. It is a file lock that the kernel drops when the process
// dies, so a crashed panel leaves no stale lock behind. The lock file lives in
// $XDG_RUNTIME_DIR, or, when that is unset, in a folder of the user's own in
// the temporary folder ("zentor-<uid>", made with mode 0700). The folder's
// owner and mode are checked before use and the file is opened without
// following a link, so that no other user can take the lock first or make the
// panel create a file elsewhere; it is opened close-on-exec so that started
// tools do not inherit it, and is never removed while held.
#include <QString>
#include <cstdint>

class clsMutex {
public:
    clsMutex() = default;
    ~clsMutex();
    clsMutex(const clsMutex&) = delete;
    clsMutex& operator=(const clsMutex&) = delete;

    // Builds "ZentorConnection-" + the upper-case hexadecimal code of each
    // character of `Name` and creates the lock. True when this process is the
    // first to hold it, false when another live process already holds it.
    bool Mutex_Open(const QString& Name);
    void Mutex_Close();
    // Waits up to dwMilliseconds for the lock; true when it is held.
    bool Mutex_Wait(int32_t dwMilliseconds);
    void Mutex_Release();

    // The list positions of another computer's service are that service's:
    // a panel on another bus (`address`, not empty) keeps its locks in a
    // folder of that bus's own, beside the usual one ("zentor-bus-" and a
    // digest of the address), so that a panel of this computer's stand and
    // one of a far stand at the same position do not refuse each other.
    // Empty: the usual folder.
    static void setBusScope(const QString& address);

    // The lock name Mutex_Open builds ("0" gives "ZentorConnection-30").
    static QString lockName(const QString& Name);
    // Where the lock files live, and the lock file of that name.
    static QString lockFolder();
    static QString lockPath(const QString& lockName);
    // Why the last Mutex_Open refused to use the lock (a folder or file of
    // another user, a symbolic link), in words for the operator; empty when
    // it did not refuse. A refused lock is not held and Mutex_Open was false.
    QString refusal() const { return m_refusal; }
    bool holdsHandle() const { return m_handle >= 0; }

private:
    bool Mutex_Create(const QString& name);
    void Mutex_Free();
    // Makes the lock folder where it is ours to make; answers why it may not
    // be used, or nothing.
    static QString prepareFolder(const QString& folder);

    int m_handle = -1;
    bool m_owned = false;
    QString m_refusal;
};
