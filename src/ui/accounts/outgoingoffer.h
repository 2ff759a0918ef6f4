#pragma once

#include <functional>

class Engine;
class MessageBoxes;
class QObject;

/// Whether there is an account to send mail through.
bool hasOutgoingAccount(Engine &engine);

/// Asks whether to set an outgoing account up now, where something is to be sent and there is none; @p setUp
/// is called after a Yes, for as long as @p context lives. False, and nothing is asked, when there is one.
bool offerOutgoingAccount(Engine &engine, MessageBoxes &boxes, QObject *context, std::function<void()> setUp);

/// Asks whether an account of another identity may send for @p identity, too, where something of that one is
/// to be sent and none of the accounts is for it; the answer may also be another account (@p setUp). False,
/// and nothing is asked, when there is one for it, or none at all.
bool offerOtherAccount(Engine &engine, MessageBoxes &boxes, QObject *context, int identity,
                       std::function<void()> setUp);
