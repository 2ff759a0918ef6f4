#include "app/demowriter.h"

#include "identity/identitymanager.h"
#include "identity/signatures.h"
#include "identity/templates.h"

#include <QDir>
#include <QFile>
#include <QFileInfo>

using namespace Qt::StringLiterals;

namespace {

bool addPress(IdentityManager &identities)
{
    Identity press;
    press.name = u"Clara Brandt"_s;
    press.address = u"clara@tidewater.example"_s;
    press.organisation = u"Tidewater Press"_s;
    press.signature = u"Tidewater Press"_s;
    press.set(IdentityDefault, true);
    const int number = identities.add(press);
    return writeSignature(number,
                          {press.signature, Signature::Kind::Plain,
                           u"Clara Brandt\nTidewater Press \u00b7 almanacs and other reliable books"_s}) &&
           writeSignature(number, {u"Letterhead"_s, Signature::Kind::Html,
                                   u"<p><b>Clara Brandt</b><br>Tidewater Press<br>"
                                   "<i>almanacs and other reliable books</i></p>"_s}) &&
           writeSignature(number, {u"First name"_s, Signature::Kind::Plain, u"Clara"_s});
}

bool addClub(IdentityManager &identities)
{
    Identity club;
    club.name = u"Clara, Kittiwake"_s;
    club.address = u"clara@northquay.example.org"_s;
    club.signature = u"Kittiwake"_s;
    club.set(IdentityTagline, true);
    const int number = identities.add(club);
    return writeSignature(number,
                          {club.signature, Signature::Kind::Plain, u"Clara\nS/Y Kittiwake, North Quay"_s}) &&
           writeTaglines(number, {u"The tide waits for nobody, the crane for everybody."_s,
                                  u"A knot for everything, and everything in a knot."_s,
                                  u"Ships are safe in harbour. So is the paint."_s});
}

bool addTemplates()
{
    bool good = true;
    const QFileInfoList samples = QDir(u":/templates"_s).entryInfoList(QDir::Files);
    for (const QFileInfo &sample : samples) {
        QFile file(sample.filePath());
        good = file.open(QIODevice::ReadOnly) &&
               writeTemplate(sample.completeBaseName(), templateText(file.readAll())) && good;
    }
    return good && !samples.isEmpty();
}

} // namespace

bool fillDemoWriter(IdentityManager &identities)
{
    return addPress(identities) && addClub(identities) && addTemplates() && identities.save();
}
