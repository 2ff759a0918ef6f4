#include "ui/reader/blockedcontent.h"

#include "ui/reader/bodybuilder.h"
#include "ui/texts/harmless.h"

#include <QCoreApplication>
#include <QUrl>

using namespace Qt::StringLiterals;

namespace {

constexpr qsizetype kMostHosts = 12;

QString translated(const char *text, qsizetype count = -1)
{
    return QCoreApplication::translate("BlockedContent", text, nullptr, int(count));
}

QString imagesInWords(qsizetype count)
{
    return count == 1 ? translated("1 image") : translated("%n images", count);
}

QString trackersInWords(qsizetype count)
{
    return count == 1 ? translated("1 tracker") : translated("%n trackers", count);
}

QString hostsOf(const QStringList &addresses)
{
    QStringList hosts;
    for (const QString &address : addresses)
        hosts.append(harmlessLine(QUrl(address).host(QUrl::FullyEncoded), 80));
    hosts.removeDuplicates();
    const qsizetype more = hosts.size() - kMostHosts;
    if (more > 0)
        hosts = hosts.first(kMostHosts) + QStringList{translated("%n more", more)};
    return hosts.join(u", "_s);
}

} // namespace

QString blockedInWords(const BodyFacts &facts)
{
    const qsizetype images = facts.remoteImages.size();
    const qsizetype trackers = facts.trackers.size();
    if (images + trackers == 0)
        return {};
    if (images > 0 && trackers > 0)
        return translated("%1 and %2 are not loaded.").arg(imagesInWords(images), trackersInWords(trackers));
    const QString words = images > 0 ? imagesInWords(images) : trackersInWords(trackers);
    return images + trackers == 1 ? translated("%1 is not loaded.").arg(words)
                                  : translated("%1 are not loaded.").arg(words);
}

QString blockedInDetail(const BodyFacts &facts)
{
    QStringList lines;
    if (!facts.remoteImages.isEmpty())
        lines += translated("Images on %1").arg(hostsOf(facts.remoteImages)).toHtmlEscaped();
    if (!facts.trackers.isEmpty())
        lines += translated("Trackers of %1: never loaded").arg(hostsOf(facts.trackers)).toHtmlEscaped();
    if (facts.remoteOthers == 1)
        lines += translated("1 background, style or film: never loaded");
    else if (facts.remoteOthers > 1)
        lines += translated("%n backgrounds, styles or films: never loaded", facts.remoteOthers);
    return lines.join(u"<br>"_s);
}
