#include "ui/reader/attachmentfiles.h"

#include "config/reporter.h"
#include "config/settings.h"
#include "message/contenttypes.h"
#include "message/decoders.h"
#include "message/headerblock.h"
#include "message/mimecontext.h"
#include "message/safename.h"
#include "ui/reader/datacard.h"

#include <QCoreApplication>
#include <QDir>
#include <QFileInfo>
#include <QSaveFile>

#include <unistd.h>

using namespace Qt::StringLiterals;

namespace {

constexpr qsizetype kStart = 16 * 1024;     ///< bytes, encoded, that tell what a part is
constexpr qsizetype kExactSize = 64 * 1024; ///< up to here a part is decoded to learn its size

/// Files that a desktop runs, installs or obeys instead of showing them.
constexpr QStringView kPrograms[] = {
    u"action",       u"apk",
    u"app",          u"appimage",
    u"application",  u"apk",
    u"bash",         u"bat",
    u"bin",          u"chm",
    u"cmd",          u"com",
    u"command",      u"cpl",
    u"csh",          u"deb",
    u"desktop",      u"dll",
    u"dmg",          u"elf",
    u"exe",          u"fish",
    u"flatpakref",   u"flatpakrepo",
    u"gadget",       u"hta",
    u"inf",          u"ins",
    u"iso",          u"jar",
    u"jnlp",         u"js",
    u"jse",          u"ksh",
    u"kdelnk",       u"library-ms",
    u"lnk",          u"lua",
    u"mobileconfig", u"msc",
    u"msh",          u"msi",
    u"msix",         u"msp",
    u"mst",          u"pif",
    u"pkg",          u"pl",
    u"ps1",          u"psm1",
    u"py",           u"pyc",
    u"pyw",          u"pyz",
    u"rb",           u"reg",
    u"rpm",          u"run",
    u"scf",          u"scr",
    u"service",      u"settingcontent-ms",
    u"sh",           u"sct",
    u"search-ms",    u"shs",
    u"snap",         u"so",
    u"tcsh",         u"tcl",
    u"url",          u"vb",
    u"vbe",          u"vbs",
    u"webloc",       u"website",
    u"workflow",     u"ws",
    u"wsc",          u"wsf",
    u"wsh",          u"xll",
    u"zsh",
};

constexpr QByteArrayView kProgramBeginnings[] = {"#!",
                                                 "\x7f"
                                                 "ELF",
                                                 "MZ",
                                                 "[Desktop Entry]",
                                                 "\xCA\xFE\xBA\xBE",
                                                 "L\x01\x14\x02"};

bool isProgram(const QString &extension, const QByteArray &bytes)
{
    if (std::find(std::begin(kPrograms), std::end(kPrograms), extension) != std::end(kPrograms))
        return true;
    const QByteArray start = bytes.first(std::min<qsizetype>(bytes.size(), 4096));
    if (start.contains("[Desktop Entry]")) // comments may stand before it
        return true;
    return std::any_of(std::begin(kProgramBeginnings), std::end(kProgramBeginnings),
                       [&](QByteArrayView beginning) { return start.startsWith(beginning); });
}

bool isDeclaredSafe(const QString &extension)
{
    const QStringList safe = stringSetting(Setting::SafeExtensions).split(u',', Qt::SkipEmptyParts);
    return !extension.isEmpty() && std::any_of(safe.begin(), safe.end(), [&](const QString &entry) {
        return entry.trimmed().compare(u'.' + extension, Qt::CaseInsensitive) == 0;
    });
}

struct IconRow
{
    QByteArrayView type; ///< a beginning of the content type
    const char *icon;
};

constexpr IconRow kIcons[] = {
    {"image/", "file-image"},
    {"application/pdf", "file-pdf"},
    {"application/zip", "file-archive"},
    {"application/gzip", "file-archive"},
    {"application/x-tar", "file-archive"},
    {"application/x-compressed-tar", "file-archive"},
    {"application/x-7z", "file-archive"},
    {"application/x-xz", "file-archive"},
    {"application/vnd.oasis.opendocument.spreadsheet", "file-sheet"},
    {"application/vnd.openxmlformats-officedocument.spreadsheetml", "file-sheet"},
    {"application/vnd.ms-excel", "file-sheet"},
    {"text/csv", "file-sheet"},
    {"message/", "mail"},
    {"text/", "file-text"},
    {"application/vnd.oasis.opendocument.text", "file-text"},
    {"application/vnd.openxmlformats-officedocument.wordprocessingml", "file-text"},
    {"application/msword", "file-text"},
    {"application/rtf", "file-text"},
};

constexpr auto kLockName = "lock"_L1;

QStringList baseDirectories()
{
    const QString wanted = stringSetting(Setting::TempDir);
    return {wanted.isEmpty() ? QDir::tempPath() : wanted, QDir::tempPath()};
}

/// Ours, with a lock whose owner is gone. A directory without a lock is just being made, or is to be kept.
bool isAbandoned(const QFileInfo &directory)
{
    const QString lockPath = directory.filePath() + u'/' + kLockName;
    if (directory.ownerId() != ::geteuid() || !QFileInfo::exists(lockPath))
        return false;
    QLockFile lock(lockPath);
    lock.setStaleLockTime(0);
    return lock.tryLock(0);
}

} // namespace

OpenRisk openRiskOf(const QString &fileName, const QByteArray &bytes)
{
    const QString extension = QFileInfo(fileName).suffix().toLower();
    if (isProgram(extension, bytes))
        return OpenRisk::Never;
    return isDeclaredSafe(extension) ? OpenRisk::None : OpenRisk::Ask;
}

QString attachmentName(const Message &message, int part)
{
    const MIMEPart &entry = message.mime().part(part);
    if (!entry.name.isEmpty())
        return entry.fileName();
    switch (dataKindOf(entry)) {
    case DataKind::Contact: return QCoreApplication::translate("AttachmentFiles", "Contact") + u".vcf"_s;
    case DataKind::Calendar: return QCoreApplication::translate("AttachmentFiles", "Event") + u".ics"_s;
    default: break;
    }
    if (entry.contenttype != "message/rfc822")
        return entry.fileName();
    const QByteArray bytes = message.mime().decodedBytes(part);
    const Message enclosed(bytes.first(headerExtent(bytes).length));
    QString subject = enclosed.subject();
    subject.replace(u'/', u'-').replace(u'\\', u'-'); // a subject is no path
    return subject.isEmpty() ? entry.fileName() : safeFileName(subject + u".eml"_s);
}

qint64 attachmentSize(const Message &message, int part)
{
    const MIMEPart &entry = message.mime().part(part);
    if (entry.length <= kExactSize)
        return message.mime().decodedBytes(part).size();
    switch (entry.encoding) {
    case Base64: return entry.length / 77 * 57; // lines of 76 characters and their end
    case Uuencode: return entry.length / 62 * 45;
    default: return entry.length;
    }
}

QByteArray attachmentStart(const Message &message, int part)
{
    const MIMEContext &mime = message.mime();
    const MIMEPart &entry = mime.part(part);
    if (entry.length <= kStart)
        return mime.decodedBytes(part);
    const QByteArrayView start = mime.rawContent(part).first(kStart);
    switch (entry.encoding) {
    case Base64: return decodeBase64(start);
    case QuotedPrintable: return decodeQuotedPrintable(start);
    case Uuencode: return decodeUuencode(start);
    case Yenc: return mime.decodedBytes(part);
    default: return start.toByteArray();
    }
}

OpenRisk openRiskOf(const Message &message, int part)
{
    return openRiskOf(attachmentName(message, part), attachmentStart(message, part));
}

QByteArray attachmentType(const MIMEPart &part)
{
    const bool saysNothing = part.contenttype.isEmpty() || part.contenttype == "application/octet-stream";
    return saysNothing && !part.name.isEmpty() ? contentTypeOf(part.name) : part.contenttype;
}

QString attachmentIcon(const Message &message, int part)
{
    const MIMEPart &entry = message.mime().part(part);
    switch (dataKindOf(entry)) {
    case DataKind::Contact: return u"person"_s;
    case DataKind::Calendar: return u"event"_s;
    default: break;
    }
    return iconOfType(attachmentType(entry));
}

QString iconOfType(const QByteArray &type)
{
    const auto row = std::find_if(std::begin(kIcons), std::end(kIcons),
                                  [&](const IconRow &candidate) { return type.startsWith(candidate.type); });
    return row == std::end(kIcons) ? u"file"_s : QString::fromLatin1(row->icon);
}

QString freePath(const QString &directory, const QString &name)
{
    const QDir target(directory);
    const qsizetype dot = name.lastIndexOf(u'.');
    const QString stem = dot > 0 ? name.first(dot) : name;
    const QString suffix = dot > 0 ? name.sliced(dot) : QString();
    QString path = target.filePath(name);
    // a link that leads nowhere would be written through
    for (int number = 2; QFileInfo::exists(path) || QFileInfo(path).isSymLink(); ++number)
        path = target.filePath(u"%1 (%2)%3"_s.arg(stem, QString::number(number), suffix));
    return path;
}

bool writeWholeFile(const QString &path, const QByteArray &bytes)
{
    QSaveFile file(path);
    return file.open(QIODevice::WriteOnly) && file.write(bytes) == bytes.size() && file.commit();
}

std::shared_ptr<AttachmentFiles> AttachmentFiles::common()
{
    static std::weak_ptr<AttachmentFiles> shared; // ends with the last window that may ask for copies
    std::shared_ptr<AttachmentFiles> files = shared.lock();
    if (!files) {
        files = std::make_shared<AttachmentFiles>();
        shared = files;
    }
    return files;
}

void AttachmentFiles::removeAbandoned()
{
    QStringList bases = baseDirectories();
    bases.removeDuplicates();
    for (const QString &base : std::as_const(bases)) {
        const QFileInfoList found = QDir(base).entryInfoList(
            {u"velmar-??????"_s}, QDir::Dirs | QDir::NoSymLinks | QDir::NoDotAndDotDot);
        for (const QFileInfo &directory : found)
            if (isAbandoned(directory))
                QDir(directory.filePath()).removeRecursively();
    }
}

bool AttachmentFiles::makeDirectory()
{
    if (m_directory && m_directory->isValid())
        return true;
    const bool keep = boolSetting(Setting::TempKeepFiles);
    const QStringList bases = baseDirectories();
    for (const QString &base : bases) {
        m_directory = std::make_unique<QTemporaryDir>(base + u"/velmar-XXXXXX"_s);
        m_directory->setAutoRemove(!keep);
        if (!m_directory->isValid())
            continue;
        if (!keep) {
            m_lock = std::make_unique<QLockFile>(m_directory->filePath(QString(kLockName)));
            m_lock->setStaleLockTime(0); // as old as this run may be
            m_lock->tryLock(0);
        }
        return true;
    }
    report(ReportLevel::Warning, "Unable to create a temporary directory");
    return false;
}

/// Where a copy of that name goes, its directory there; empty after a warning.
QString AttachmentFiles::freshPath(const QString &name)
{
    if (!makeDirectory())
        return {};
    const QString folder = m_directory->filePath(QString::number(++m_count));
    return QDir().mkpath(folder) ? folder + u'/' + name : QString();
}

QString AttachmentFiles::copyOf(const Message &message, int part)
{
    const QString path = freshPath(attachmentName(message, part));
    if (path.isEmpty() || !message.mime().savePart(part, path))
        return {};
    QFile::setPermissions(path, QFile::ReadOwner);
    return path;
}

QString AttachmentFiles::copyOf(const QString &name, const QByteArray &bytes)
{
    const QString path = freshPath(safeFileName(name));
    if (path.isEmpty())
        return {};
    if (!writeWholeFile(path, bytes)) {
        report(ReportLevel::Warning, "Unable to write file '%s'", qUtf8Printable(path));
        return {};
    }
    QFile::setPermissions(path, QFile::ReadOwner);
    return path;
}
