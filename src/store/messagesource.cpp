#include "store/messagesource.h"

#include "store/mailbox/detect.h"
#include "store/mailbox/maildir.h"
#include "store/mailbox/mboxreader.h"
#include "store/mailbox/messagefile.h"
#include "store/marksofflags.h"

#include <QFile>
#include <QFileInfo>

using namespace Qt::StringLiterals;

namespace {

class MboxSource : public MessageSource
{
public:
    explicit MboxSource(const QString &path)
        : m_file(path)
    {
        if (m_file.open(QIODevice::ReadOnly))
            m_reader.emplace(m_file);
    }
    bool isOpen() const { return m_reader.has_value(); }
    Outcome next(IncomingMessage &message) override
    {
        MboxMessage found;
        switch (m_reader->next(found)) {
        case MboxReader::Outcome::Message: break;
        case MboxReader::Outcome::End: return Outcome::End;
        case MboxReader::Outcome::Failed: return Outcome::Failed;
        }
        message = {std::move(found.text), marksOf(found.flags), found.date, {}};
        return Outcome::Message;
    }
    int skipped() const override { return m_reader->skipped(); }
    qint64 done() const override { return m_reader->position(); }
    qint64 total() const override { return m_reader->size(); }

private:
    QFile m_file;
    std::optional<MboxReader> m_reader;
};

/// Message files, one after the other; what turns out to be none is skipped.
class FileSource : public MessageSource
{
public:
    explicit FileSource(QStringList paths)
        : m_paths(std::move(paths))
    {}
    Outcome next(IncomingMessage &message) override
    {
        while (m_next < m_paths.size()) {
            const QString path = m_paths[m_next++];
            std::optional<QByteArray> text = readMessageFile(path);
            if (!text) {
                ++m_skipped;
                continue;
            }
            const Marks marks = marksOf(flagsOfHeader(*text));
            message = {std::move(*text), marks, QFileInfo(path).lastModified().toSecsSinceEpoch(), {}};
            return Outcome::Message;
        }
        return Outcome::End;
    }
    int skipped() const override { return m_skipped; }
    qint64 done() const override { return m_next; }
    qint64 total() const override { return m_paths.size(); }

private:
    QStringList m_paths;
    qsizetype m_next = 0;
    int m_skipped = 0;
};

class MaildirSource : public MessageSource
{
public:
    explicit MaildirSource(const QString &path)
    {
        const QList<MaildirFolder> folders = Maildir(path).folders();
        for (const MaildirFolder &folder : folders) {
            const QList<MaildirMessage> messages = Maildir(folder.path).messages();
            for (const MaildirMessage &message : messages)
                m_messages.append({folder, message});
        }
    }
    Outcome next(IncomingMessage &message) override
    {
        while (m_next < m_messages.size()) {
            const auto &[folder, file] = m_messages[m_next++];
            std::optional<QByteArray> text = Maildir(folder.path).read(file);
            if (!text) {
                ++m_skipped;
                continue;
            }
            message = {std::move(*text), marksOf(file.flags), file.delivered, folder.name};
            return Outcome::Message;
        }
        return Outcome::End;
    }
    int skipped() const override { return m_skipped; }
    qint64 done() const override { return m_next; }
    qint64 total() const override { return m_messages.size(); }

private:
    QList<std::pair<MaildirFolder, MaildirMessage>> m_messages;
    qsizetype m_next = 0;
    int m_skipped = 0;
};

} // namespace

std::unique_ptr<MessageSource> MessageSource::open(const QString &path, QString &reason)
{
    const DetectedMailbox detected = detectMailbox(path);
    switch (detected.kind) {
    case MailboxKind::None: break;
    case MailboxKind::Mbox:
        if (auto source = std::make_unique<MboxSource>(path); source->isOpen())
            return source;
        reason = u"%1 cannot be read"_s.arg(path);
        return nullptr;
    case MailboxKind::Message: return std::make_unique<FileSource>(QStringList{path});
    case MailboxKind::Maildir: return std::make_unique<MaildirSource>(path);
    case MailboxKind::Folder: return std::make_unique<FileSource>(messageFilesIn(path));
    }
    reason = detected.reason;
    return nullptr;
}
