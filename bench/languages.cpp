#include "languages.h"

using namespace Qt::StringLiterals;

namespace {

constexpr qsizetype kLineWidth = 72;

// No list holds "from": at the start of a line some mailbox writers would quote it, and readers differ there.
const QString kEnglish =
    u"the of and to in a is that it for you was with on as are be this have not at we by but they can "
    "all will would there which about if or one our your out up so what when more some time who them do "
    "been now like only new just could these other than then first also after use two how work may day "
    "most way well even because any give between need want through back much before good right should "
    "where each people over think still week know last long great made next meeting here many find "
    "down project report team please see attached thanks regards question version file system office "
    "number problem change customer order list data market group company service update contract price "
    "review monday tuesday thursday friday morning afternoon budget invoice agenda draft proposal "
    "deadline schedule travel flight hotel conference server release branch patch error message "
    "branches feature window kernel driver network storage backup password account support ticket "
    "delivery shipping warehouse supplier quality sample measurement laboratory figure chapter reader "
    "author editor garden kitchen bicycle weather holiday birthday concert ticket museum library school "
    "children parents neighbour mountain river harbour island station platform bridge tunnel engine "
    "perhaps however therefore although especially probably usually exactly quickly carefully together "
    "agreement committee department decision discussion explanation improvement information "
    "introduction organisation possibility recommendation responsibility understanding"_s;
const QString kGerman =
    u"und die der ist das nicht wir zu den mit es für von ein auf sie im auch eine dass noch wenn aber "
    "sich aus bei haben werden nach einen können über wird schon sehr mehr dann bitte nur einem Frage "
    "heute morgen Woche Termin Bericht Änderung möglich größer später während natürlich Grüße Büro "
    "Straße Tür Gespräch Vorschlag Rechnung Lieferung Prüfung Übersicht Ausführung Gebäude Verfügung "
    "Besprechung Unterlagen Zusammenarbeit Geschäftsführung Änderungsvorschlag Qualitätssicherung"_s;
const QString kFrench =
    u"de la le et les des est que une pour dans qui pas sur nous plus avec vous par tout bien être à "
    "été même après très déjà où aussi cette fait peut leur temps réunion réponse pièce matériel "
    "problème projet équipe demain semaine février décembre français élève théâtre hôtel près côté "
    "“bientôt” coûter €120 œuvre Noël garçon leçon reçu façon développement bibliothèque "
    "responsabilité compréhension éventuellement"_s;
const QString kRussian =
    u"и в не на я что он с это как по но мы к из у за вы так же от бы было для все уже или если нет да "
    "только когда очень может быть время письмо вопрос ответ работа проект сегодня завтра неделя "
    "встреча спасибо отчёт сервер ошибка версия город улица поезд книга погода музыка договор "
    "поставка качество изменение предложение сотрудничество ответственность"_s;
const QString kJapanese =
    u"の に は を が と で です ます した から まで この その こと もの 会議 資料 明日 今日 確認 お願い "
    "送付 添付 予定 変更 報告 問題 時間 東京 大阪 電車 天気 写真 本 音楽 品質 契約 連絡 担当 返信 "
    "よろしく ありがとう ございます について ください テスト システム サーバ メール プロジェクト"_s;
const QString kChinese =
    u"的 我们 是 在 有 和 了 不 这 中 大家 可以 会议 资料 明天 今天 请 确认 附件 发送 报告 问题 时间 "
    "北京 上海 项目 变更 计划 谢谢 回复 质量 合同 客户 服务 系统 网络 数据 版本 天气 音乐 图书馆 "
    "如果 因为 所以 但是 已经 需要 开始 完成 工作 下周 讨论 建议 支持"_s;

QString capitalised(const QString &word)
{
    return word.left(1).toUpper() + word.mid(1);
}

/// The frequent words come first in a list, so it is drawn from with a bias.
const QString &anyWord(const Language &language, Random &random)
{
    const double place = random.unit();
    return language.words[qsizetype(place * place * double(language.words.size()))];
}

/// What no list of words has: numbers, times, names of files, addresses.
QString oddWord(Random &random)
{
    switch (random.below(5)) {
    case 0: return QString::number(random.below(100'000));
    case 1: return u"%1:%2"_s.arg(8 + random.below(12)).arg(int(random.below(60)), 2, 10, QChar(u'0'));
    case 2: return u"file-%1.txt"_s.arg(random.below(10'000));
    case 3: return u"https://example.com/%1/%2"_s.arg(random.below(1000)).arg(random.bits(), 0, 36);
    default: return u"#%1"_s.arg(random.below(10'000));
    }
}

QString sentence(const Language &language, Random &random)
{
    const QString end = language.spaced ? u"."_s : u"。"_s;
    return phrase(language, 4 + int(random.below(16)), random) + end;
}

/// Breaks at blanks; text without blanks after its share of wide characters.
void appendWrapped(QString &text, const QString &paragraph, bool spaced)
{
    if (!spaced) {
        for (qsizetype at = 0; at < paragraph.size(); at += kLineWidth / 2)
            text += QStringView(paragraph).mid(at, kLineWidth / 2).toString() + u'\n';
        return;
    }
    qsizetype width = 0;
    for (const QStringView word : QStringView(paragraph).split(u' ')) {
        if (width > 0)
            text += width + word.size() >= kLineWidth ? u'\n' : u' ';
        width = width + word.size() >= kLineWidth ? word.size() : width + word.size() + 1;
        text += word;
    }
    text += u'\n';
}

} // namespace

const QList<Language> &languages()
{
    using enum Transfer;
    static const QList<Language> s_languages = {
        {"us-ascii", {SevenBit}, 0.31, true, kEnglish.split(u' ')},
        {"utf-8", {SevenBit, EightBit, QuotedPrintable, Base64}, 0.23, true, kEnglish.split(u' ')},
        {"utf-8", {EightBit, QuotedPrintable, Base64}, 0.15, true, kGerman.split(u' ')},
        {"iso-8859-1", {QuotedPrintable, QuotedPrintable, EightBit}, 0.12, true, kGerman.split(u' ')},
        {"windows-1252", {QuotedPrintable, EightBit}, 0.10, true, kFrench.split(u' ')},
        {"koi8-r", {EightBit, Base64}, 0.03, true, kRussian.split(u' ')},
        {"iso-2022-jp", {SevenBit}, 0.03, false, kJapanese.split(u' ')},
        {"gb18030", {Base64, EightBit}, 0.03, false, kChinese.split(u' ')},
    };
    return s_languages;
}

const Language &anyLanguage(Random &random)
{
    double place = random.unit();
    for (const Language &language : languages()) {
        place -= language.share;
        if (place < 0)
            return language;
    }
    return languages().constFirst();
}

QString phrase(const Language &language, int words, Random &random)
{
    QStringList phrase = {capitalised(anyWord(language, random))};
    while (phrase.size() < words)
        phrase += random.chance(0.03) ? oddWord(random) : anyWord(language, random);
    return phrase.join(language.spaced ? u" "_s : QString());
}

QString prose(const Language &language, qsizetype characters, Random &random)
{
    QString text;
    while (text.size() < characters) {
        QStringList sentences;
        for (qsizetype left = 2 + random.below(5); left > 0; --left)
            sentences += sentence(language, random);
        appendWrapped(text, sentences.join(language.spaced ? u" "_s : QString()), language.spaced);
        text += u'\n';
    }
    text.chop(2);
    return text;
}
