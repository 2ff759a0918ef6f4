#include "ui/reader/bodydocument.h"

#include "ui/reader/bodypicture.h"
#include "ui/reader/remotepictures.h"
#include "ui/texts/harmless.h"

#include <QAbstractTextDocumentLayout>
#include <QTextBlock>
#include <QTextCursor>
#include <QUrl>

#include <vector>

namespace {

constexpr int kLongestWords = 300;

bool isRemote(const QString &name)
{
    return name.startsWith(u"http", Qt::CaseInsensitive);
}

struct Place
{
    int position;
    QTextImageFormat format;
};

/// Every picture of @p document that @p wanted says yes to, the last one first.
template <typename Wanted>
std::vector<Place> placesOf(const QTextDocument &document, Wanted wanted)
{
    std::vector<Place> places;
    for (QTextBlock block = document.begin(); block.isValid(); block = block.next()) {
        for (auto at = block.begin(); !at.atEnd(); ++at) {
            const QTextFragment fragment = at.fragment();
            if (!fragment.charFormat().isImageFormat())
                continue;
            const QTextImageFormat format = fragment.charFormat().toImageFormat();
            for (int i = 0; i < fragment.length() && wanted(format.name());
                 ++i) // equal ones are one fragment
                places.push_back({fragment.position() + i, format});
        }
    }
    std::reverse(places.begin(), places.end());
    return places;
}

} // namespace

BodyDocument::BodyDocument(const Message &message, std::shared_ptr<const RemoteFiles> remote, QObject *parent)
    : QTextDocument(parent)
    , m_images(message)
    , m_remote(std::move(remote))
{
    setUndoRedoEnabled(false);
    setDocumentMargin(0);
    documentLayout()->registerHandler(QTextFormat::ImageObject, new BodyPicture(this));
}

QVariant BodyDocument::loadResource(int type, const QUrl &name)
{
    if (type != ImageResource)
        return QByteArray(""); // valid and empty: nobody shall look for it elsewhere
    const QImage &image = picture(name.toString(QUrl::FullyEncoded)).image;
    return image.isNull() ? MessageImages::nothing() : image; // Qt would try to find a null one by itself
}

const BodyDocument::Picture &BodyDocument::picture(const QString &name)
{
    const auto known = m_pictures.constFind(name);
    if (known != m_pictures.cend())
        return *known;
    Picture picture;
    if (!isRemote(name))
        picture.image = m_images.image(QUrl(name));
    else if (m_remote && m_remote->here.contains(name))
        picture.image = m_images.image(m_remote->here.value(name));
    else if (m_remote && m_remote->isOpen(name))
        picture.state = Picture::Waiting;
    if (!picture.image.isNull())
        picture.state = Picture::Here;
    return *m_pictures.insert(name, picture);
}

void BodyDocument::update(const QStringList &urls)
{
    const QSet<QString> changed(urls.begin(), urls.end());
    for (const QString &url : urls)
        m_pictures.remove(url);
    const auto places = placesOf(*this, [&](const QString &name) { return changed.contains(name); });
    for (const Place &place : places)
        markContentsDirty(place.position, 1);
    replaceMissing();
}

void BodyDocument::replaceMissing()
{
    const auto missing =
        placesOf(*this, [this](const QString &name) { return picture(name).state == Picture::Missing; });
    for (const Place &place : missing) {
        QTextCursor cursor(this);
        cursor.setPosition(place.position);
        cursor.setPosition(place.position + 1, QTextCursor::KeepAnchor);
        QTextCharFormat words = place.format;
        words.setObjectType(QTextFormat::NoObject);
        for (const int property : {QTextFormat::ImageName, QTextFormat::ImageWidth, QTextFormat::ImageHeight,
                                   QTextFormat::ImageAltText, QTextFormat::ImageTitle})
            words.clearProperty(property);
        cursor.insertText(
            harmlessLine(place.format.property(QTextFormat::ImageAltText).toString(), kLongestWords), words);
    }
}
