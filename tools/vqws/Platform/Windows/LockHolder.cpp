#include "Platform/LockHolder.h"

#include <QCryptographicHash>
#include <windows.h>

namespace Vqws {

namespace {

// The name that Qt gives to the object of a QSystemSemaphore.
QString semaphoreName(const QString& key) {
    QString name = QStringLiteral("qipc_systemsem_");
    for (const QChar letter : key) {
        if (letter.isLetter())
            name += letter;
    }
    return name + QString::fromLatin1(QCryptographicHash::hash(key.toUtf8(), QCryptographicHash::Sha1).toHex());
}

} // namespace

// The system does not tell which process holds a semaphore. It only tells whether the semaphore is free: this takes it without
// waiting, and releases it at once.
LockHolder loginStateLockHolder(const QString&) {
    const std::wstring name = semaphoreName(QStringLiteral("VqWebServicesLoginStateSemaphore")).toStdWString();
    const HANDLE semaphore = ::OpenSemaphoreW(SYNCHRONIZE | SEMAPHORE_MODIFY_STATE, FALSE, name.c_str());
    if (!semaphore)
        return {};
    const bool isFree = ::WaitForSingleObject(semaphore, 0) == WAIT_OBJECT_0;
    if (isFree)
        ::ReleaseSemaphore(semaphore, 1, nullptr);
    ::CloseHandle(semaphore);
    return {!isFree, isFree ? QString() : QStringLiteral("a program that the system does not name"), {}};
}

} // namespace Vqws
