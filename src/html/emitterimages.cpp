#include "html/emitter.h"

#include "html/emitterparts.h"
#include "html/htmlescape.h"
#include "html/parsedhtml.h"
#include "html/urls.h"

#include <algorithm>

using namespace Qt::StringLiterals;

namespace {

constexpr double kGreatestImage = 800;
constexpr double kTiny = 3;         // pixels: nobody sees it
constexpr double kLargeBeacon = 16; // no counter is drawn so large

/// Whether @p source is a bitmap that stands in the text itself (RFC 2397).
bool isPictureInText(const QString &source)
{
    static constexpr QStringView kTypes[] = {u"png", u"jpeg", u"jpg", u"gif", u"bmp", u"webp"};
    constexpr QStringView kBase64 = u";base64,";
    if (!source.startsWith(u"data:image/", Qt::CaseInsensitive))
        return false;
    const QStringView rest = QStringView(source).sliced(11);
    const auto isType = [&](QStringView type) {
        return rest.startsWith(type, Qt::CaseInsensitive) &&
               rest.sliced(type.size()).startsWith(kBase64, Qt::CaseInsensitive);
    };
    const auto isDigit = [](QChar c) {
        return c < u'\x80' && (c.isLetterOrNumber() || c == u'+' || c == u'/' || c == u'=' || c == u'%');
    };
    const auto type = std::find_if(std::begin(kTypes), std::end(kTypes), isType);
    if (type == std::end(kTypes))
        return false;
    const QStringView digits = rest.sliced(type->size() + kBase64.size());
    return std::all_of(digits.begin(), digits.end(), isDigit);
}

} // namespace

/// Sorts the pictures on the net: false for those that nobody is meant to see.
bool Emitter::isPictureToLookAt(const Style &style, const QString &address)
{
    const auto tiny = [](const std::optional<double> &size) { return size && *size <= kTiny; };
    const auto large = [](const std::optional<double> &size) { return size && *size > kLargeBeacon; };
    const bool sized = style.width && style.height;
    if (context().hidden || (tiny(style.width) && tiny(style.height)) ||
        (!sized && (tiny(style.width) || tiny(style.height))) ||
        (isBeacon(address) && !large(style.width) && !large(style.height))) {
        addTracker(address);
        return false;
    }
    if (tiny(style.width) || tiny(style.height)) { // keeps two pieces of a table apart
        ++m_result.remoteOthers;
        return false;
    }
    if (!m_listed.contains(address)) {
        m_listed.insert(address);
        m_result.remoteImages.append(address);
    }
    return !m_result.trackers.contains(address);
}

void Emitter::addTracker(const QString &address)
{
    if (m_listed.contains(address))
        return;
    m_listed.insert(address);
    m_result.trackers.append(address);
}

/// Pictures in what is not displayed: one with a size is for another program or a narrower window.
void Emitter::noteHidden(const GumboNode *root)
{
    const auto isSized = [](const GumboNode *node) {
        bool width = false;
        bool height = false;
        return attributeOf(node, "width").toInt(&width) > kTiny ||
               attributeOf(node, "height").toInt(&height) > kTiny;
    };
    walk(
        root,
        [&](const GumboNode *node) {
            if (tagOf(node) != GUMBO_TAG_IMG)
                return true;
            const QString address = remoteAddress(attributeOf(node, "src"));
            if (!address.isEmpty() && (node == root || isBeacon(address) || !isSized(node)))
                addTracker(address);
            return false;
        },
        [](const GumboNode *) {});
}

void Emitter::image(const GumboNode *node, const Style &style)
{
    QString source = attributeOf(node, "src").trimmed();
    if (source.isEmpty()) // "a.png 1x, b.png 2x"
        source = attributeOf(node, "srcset").simplified().section(u' ', 0, 0);
    const QString remote = remoteAddress(source);
    const bool seen = remote.isEmpty() || isPictureToLookAt(style, remote);
    const auto tiny = [](const std::optional<double> &size) { return size && *size <= 1; };
    if (!seen || context().rows || context().hidden || tiny(style.width) || tiny(style.height))
        return;
    const bool cid = source.startsWith(u"cid:", Qt::CaseInsensitive);
    if (cid && !m_listed.contains(source)) {
        m_listed.insert(source);
        m_result.cids.append(QString::fromUtf8(QByteArray::fromPercentEncoding(source.sliced(4).toUtf8())));
    }
    const bool kept = cid || (!remote.isEmpty() && m_options.remoteImages) || isPictureInText(source);
    if (!kept || !m_options.images || --m_picturesLeft < 0)
        return placeholder(node);
    const QString &address = remote.isEmpty() ? source : remote;
    m_pictures += cid || !remote.isEmpty() ? 0 : address.size();
    m_word = 0;
    QString attributes;
    give(attributes, u"src", htmlEscaped(address));
    const double asked = std::max(style.width.value_or(1), 1.0);
    double greatest = kGreatestImage;
    if (m_options.width > 0)
        greatest = std::min(greatest, double(m_options.width));
    const double shrink = std::min(context().shrink, greatest / asked);
    if (style.width)
        give(attributes, u"width", rounded(*style.width * shrink));
    if (style.height)
        give(attributes, u"height", rounded(*style.height * shrink));
    if (const QString alt = attributeOf(node, "alt"); !alt.isEmpty())
        give(attributes, u"alt", htmlEscaped(alt));
    m_result.html += u"<img"_s + attributes + u'>';
}

/// A picture that is not shown leaves its words.
void Emitter::placeholder(const GumboNode *node)
{
    const QString alt = attributeOf(node, "alt").simplified();
    context().unseen = false; // letters of no size close the gaps between pictures, their words are meant
    if (!alt.isEmpty())
        text(alt);
}
