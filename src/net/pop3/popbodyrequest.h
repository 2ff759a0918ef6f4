#pragma once

#include "net/mailreceiver.h"

/// One message that a person or the program wants whole, of which only the header is here.
struct POPFetcherBodyRequest
{
    QByteArray identifier; ///< the server's name for it, as the MailReceiver was given it
    WaitingMessage place;  ///< what waits for it
};
