// Keeps the window up to date.

#include "Product.h"

#include <QDateTime>
#include <QMetaObject>

void Product::refresh() {
    look();
    if (!m_state.isSignedIn || m_isReadingDetails)
        return;
    m_reads.post(&ProductCalls::forgetDetails);
    readDetails();
}

void Product::look() {
    m_looks.clear();
    m_looks.post([this, round = ++m_lookRound] {
        const AccountState state = ProductCalls::readState();
        QMetaObject::invokeMethod(
            this,
            [this, state, round] {
                // While the library starts, it does not know the user yet. The state is read again after the start.
                if (round == m_lookRound && m_activity != Activity::Starting)
                    takeState(state);
            },
            Qt::QueuedConnection);
    });
}

void Product::takeState(const AccountState& state) {
    const bool isSameUser = state.isSignedIn == m_state.isSignedIn && state.userId == m_state.userId;
    const bool hasNewToken = state.accessToken.isHeld && !m_state.accessToken.isHeld;
    noteEnd(state);
    m_state = state;
    if (!isSameUser) {
        ++m_signInRound;
        m_isReadingDetails = false;
        m_details = {};
    }
    emit stateChanged(m_state);
    if (!isSameUser)
        emit detailsChanged(m_details, false);
    if (!isSameUser || hasNewToken)
        readDetails();
}

void Product::noteEnd(const AccountState& state) {
    if (m_state.isSignedIn && !state.isSignedIn) {
        const bool isOver = m_state.signInExpiry > 0 && m_state.signInExpiry <= QDateTime::currentSecsSinceEpoch();
        const SignInEnd end = isOver && m_end == SignInEnd::ByOtherProduct ? SignInEnd::Expired : m_end;
        if (end != SignInEnd::ByThisWindow)
            emit signInEnded(end);
    }
    // The events before a sign-out cause looks too, which find the user signed in still.
    if (m_state.isSignedIn != state.isSignedIn)
        m_end = SignInEnd::ByOtherProduct;
}

void Product::readDetails() {
    if (!m_state.isSignedIn || !m_state.accessToken.isHeld || m_isReadingDetails)
        return;
    m_isReadingDetails = true;
    emit detailsChanged(m_details, true);
    m_reads.post([this, round = m_signInRound] {
        const AccountDetails details = ProductCalls::readDetails();
        QMetaObject::invokeMethod(
            this,
            [this, details, round] {
                if (round == m_signInRound)
                    takeDetails(details);
            },
            Qt::QueuedConnection);
    });
}

void Product::takeDetails(const AccountDetails& details) {
    m_isReadingDetails = false;
    m_details = details;
    emit detailsChanged(m_details, false);
}

void Product::onEvent(const QString& event, const QString& consumerKey) {
    const bool isOwn = consumerKey == m_options.keys.key;
    const bool isOfOther = !consumerKey.isEmpty() && !isOwn;
    emit eventHappened(event, consumerKey, originOf(event, isOfOther, m_activity));
    look();
}
