#pragma once

#include <QList>
#include <QString>

class MIMEContext;
class Message;

/// What of a message is shown, and in which order: one choice out of each multipart/alternative, enclosed
/// messages in place, and what can only be said. Nothing is decoded for it.

struct BodySection
{
    enum Kind {
        Text,     ///< any text that is shown as it is
        Html,     //
        Image,    ///< shown unless a text shows it already (by its Content-ID)
        Delivery, ///< message/delivery-status
        Piece,    ///< message/partial
        Enclosed, ///< an enclosed message begins: its header
        End,      ///< the innermost enclosed message ends
        Note,     ///< words of ours in `note`
        Data,     ///< what is said on cards (datacard.h)
    };

    Kind kind = Text;
    int part = -1;
    QString note;

    bool operator==(const BodySection &) const = default;
};

struct BodyPlan
{
    QList<BodySection> sections;
    QList<int> attachments;    ///< parts that can be opened and saved, in their order
    bool isSigned = false;     ///< some of it is; nobody has checked it
    bool isEncrypted = false;  ///< some of it cannot be read
    bool hasBothForms = false; ///< there is HTML and plain text to choose from
};

struct PlanOptions
{
    bool preferPlain = false; ///< of plain text and HTML
    bool images = true;       ///< show pictures that are parts of their own
    QString emptyNote = {};   ///< said where there is no text; empty: that there is none
};

QString emptyNoteOf(const PlanOptions &options);

BodyPlan planBody(const MIMEContext &mime, const PlanOptions &options);

/// Whether @p contenttype is a picture that the reader draws.
bool isShownImage(const QByteArray &contenttype);
