#include "mailmaker.h"

#include <QCommandLineParser>
#include <QCoreApplication>
#include <QFile>
#include <QLocale>

#include <algorithm>
#include <cstdio>

namespace {

/// What the mail that was made is like, to be held against what it should be.
struct Statistics
{
    std::vector<qsizetype> sizes;
    int multiparts = 0;
    int attachments = 0;

    void add(const MailMaker::Mail &mail)
    {
        sizes.push_back(mail.text.size());
        multiparts += mail.isMultipart ? 1 : 0;
        attachments += mail.hasAttachment ? 1 : 0;
    }

    void print()
    {
        const double count = double(sizes.size());
        double total = 0;
        for (const qsizetype size : sizes)
            total += double(size);
        const auto middle = sizes.begin() + std::ptrdiff_t(sizes.size() / 2);
        std::nth_element(sizes.begin(), middle, sizes.end());
        std::fprintf(stderr,
                     "%zu messages, %.1f MB: median %.1f KB, mean %.1f KB, %.0f %% multipart, "
                     "%.0f %% with attachments\n",
                     sizes.size(), total / 1e6, double(*middle) / 1e3, total / count / 1e3,
                     100 * multiparts / count, 100 * attachments / count);
    }
};

bool write(QFile &file, const MailMaker::Mail &mail)
{
    const QString date = QLocale::c().toString(mail.date, QStringLiteral("ddd MMM dd HH:mm:ss yyyy"));
    const QByteArray record = "From " + mail.sender + ' ' + date.toLatin1() + '\n' + mail.text + '\n';
    return file.write(record) == record.size();
}

} // namespace

/// Writes an mbox of so many messages; what they are like goes to standard error.
int main(int argc, char **argv)
{
    QCoreApplication application(argc, argv);
    QCommandLineParser parser;
    parser.addPositionalArgument(QStringLiteral("mbox"), QStringLiteral("the file to write"));
    parser.addPositionalArgument(QStringLiteral("count"), QStringLiteral("how many messages"));
    const QCommandLineOption small(QStringLiteral("small"), QStringLiteral("short texts only"));
    const QCommandLineOption notices(QStringLiteral("notices"), QStringLiteral("what machines send"));
    parser.addOptions({small, notices});
    parser.addHelpOption();
    parser.process(application);
    const QStringList words = parser.positionalArguments();
    const int count = words.value(1).toInt();
    QFile file(words.value(0));
    if (count <= 0 || !file.open(QIODevice::WriteOnly)) {
        std::fprintf(stderr, "a file that can be written and a number of messages are wanted\n");
        return 1;
    }
    const MailMaker::Kind kind = parser.isSet(small)     ? MailMaker::Kind::Small
                                 : parser.isSet(notices) ? MailMaker::Kind::Notices
                                                         : MailMaker::Kind::Natural;
    MailMaker maker(kind, 20'190'101);
    Statistics statistics;
    for (int i = 0; i < count; ++i) {
        const MailMaker::Mail mail = maker.next();
        statistics.add(mail);
        if (!write(file, mail)) {
            std::fprintf(stderr, "the file cannot be written\n");
            return 1;
        }
    }
    statistics.print();
    return file.flush() ? 0 : 1;
}
