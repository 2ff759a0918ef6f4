#include "config/settings.h"

#include "config/clock.h"
#include "config/directory.h"
#include "config/files.h"
#include "config/platform.h"
#include "config/reporter.h"
#include "config/settingstable.h"

#include <QFile>
#include <QFileInfo>
#include <QHash>
#include <QStringList>

using namespace Qt::StringLiterals;

namespace {

constexpr qint64 kSecondsBetweenSaves = 5;

struct SettingValue
{
    qint32 integer = 0;
    QString string;
    bool boolean = false;
};

/// What the whole process shares: the values, whether they differ from the file, and the last attempt to
/// save.
struct SettingsTable
{
    std::array<SettingValue, kSettings.size()> values;
    bool dirty = false;
    std::optional<qint64> lastSave; ///< seconds since 1970 UTC

    SettingsTable() { setDefaults(); }
    void setDefaults();
};

/// A number as the file and the defaults hold it: the digits up to the first other character.
qint32 leadingNumber(QStringView text)
{
    qsizetype end = 0;
    while (end < text.size() && text[end] >= u'0' && text[end] <= u'9')
        ++end;
    return qint32(text.left(end).toInt());
}

SettingValue defaultValue(const SettingRow &row)
{
    const QString text = QString::fromLatin1(row.defaultValue);
    switch (row.type) {
    case SettingType::String: return {0, text, false};
    case SettingType::Integer: return {leadingNumber(text), {}, false};
    case SettingType::Boolean: return {0, {}, text == u"true"};
    }
    return {};
}

void SettingsTable::setDefaults()
{
    for (std::size_t i = 0; i < kSettings.size(); ++i)
        values[i] = defaultValue(kSettings[i]);
}

SettingsTable &table()
{
    static SettingsTable s_table;
    return s_table;
}

const SettingRow &rowOf(Setting id)
{
    return kSettings[std::size_t(id) - 1];
}

SettingValue &valueOf(Setting id)
{
    return table().values[std::size_t(id) - 1];
}

void changed(bool saveNow)
{
    table().dirty = true;
    if (saveNow)
        saveConfig(true);
}

void takeValue(std::size_t row, const QString &text)
{
    SettingValue &value = table().values[row];
    switch (kSettings[row].type) {
    case SettingType::String: value.string = text; break;
    case SettingType::Integer: value.integer = text.toInt(); break;
    case SettingType::Boolean: value.boolean = text == u"true"; break;
    }
}

/// Takes the values from the file's lines. True when its "end" line was there.
bool takeLines(const QStringList &lines)
{
    static const QHash<QString, std::size_t> s_rows = [] {
        QHash<QString, std::size_t> rows;
        for (std::size_t i = 0; i < kSettings.size(); ++i)
            rows.insert(QString::fromLatin1(kSettings[i].key), i);
        return rows;
    }();
    for (const QString &line : lines) {
        if (line == u"end")
            return true;
        const qsizetype equals = line.indexOf(u'=');
        if (equals < 0)
            continue;
        const auto row = s_rows.constFind(line.left(equals));
        if (row != s_rows.constEnd())
            takeValue(*row, line.mid(equals + 1));
    }
    return false;
}

QByteArray fileContents()
{
    QByteArray out;
    for (std::size_t i = 0; i < kSettings.size(); ++i) {
        const SettingValue &value = table().values[i];
        out += kSettings[i].key;
        out += '=';
        switch (kSettings[i].type) {
        case SettingType::String: out += value.string.toUtf8(); break;
        case SettingType::Integer: out += QByteArray::number(value.integer); break;
        case SettingType::Boolean: out += value.boolean ? "true" : "false"; break;
        }
        out += '\n';
    }
    return out + "end\n";
}

QString beforeLineEnd(const QString &value)
{
    const auto isLineEnd = [](QChar c) { return c == u'\n' || c == u'\r'; };
    const auto end = std::find_if(value.begin(), value.end(), isLineEnd);
    return value.left(end - value.begin());
}

} // namespace

QString stringSetting(Setting id)
{
    return valueOf(id).string;
}

int intSetting(Setting id)
{
    return valueOf(id).integer;
}

bool boolSetting(Setting id)
{
    return valueOf(id).boolean;
}

void setStringSetting(Setting id, const QString &value, bool saveNow)
{
    valueOf(id).string = beforeLineEnd(value);
    changed(saveNow);
}

void setIntSetting(Setting id, int value, bool saveNow)
{
    valueOf(id).integer = value;
    changed(saveNow);
}

void setBoolSetting(Setting id, bool value, bool saveNow)
{
    valueOf(id).boolean = value;
    changed(saveNow);
}

QString defaultStringSetting(Setting id)
{
    return defaultValue(rowOf(id)).string;
}

int defaultIntSetting(Setting id)
{
    return defaultValue(rowOf(id)).integer;
}

bool defaultBoolSetting(Setting id)
{
    return defaultValue(rowOf(id)).boolean;
}

bool loadConfig(bool fromBackup)
{
    if (!fromBackup)
        table().setDefaults();
    QString path = configPath();
    if (fromBackup)
        path += u".backup";
    if (!QFile::exists(path))
        return fromBackup || loadConfig(true);

    QFile file(path);
    if (!QFileInfo(path).isFile() || !file.open(QIODevice::ReadOnly)) { // a pipe would be waited for
        report(ReportLevel::Warning, "Unable to read configuration file");
        return false;
    }
    const bool complete = takeLines(splitLines(decodeTextFile(file.readAll())));
    if (!fromBackup && !complete) {
        note(u"%1 lacks its end line: read again from its backup"_s.arg(path));
        return loadConfig(true);
    }
    if (!fromBackup && storeAccess() == StoreAccess::ReadWrite && !copyFile(path, path + u".backup"_s, false))
        report(ReportLevel::Warning, "Unable to backup config file");
    table().dirty = false;
    return true;
}

bool saveConfig(bool force)
{
    SettingsTable &settings = table();
    if (!settings.dirty || storeAccess() == StoreAccess::ReadOnly)
        return true;
    const qint64 now = clockSeconds();
    // A clock that was set back must not stop the saving until it has caught up.
    const bool recently =
        settings.lastSave && now >= *settings.lastSave && now - *settings.lastSave < kSecondsBetweenSaves;
    if (!force && recently)
        return true;
    settings.lastSave = now;

    QFile file(configPath());
    const QByteArray contents = fileContents();
    if (!file.open(QIODevice::WriteOnly | QIODevice::Truncate) || file.write(contents) != contents.size() ||
        !file.flush()) {
        report(ReportLevel::Warning, "Unable to write configuration file");
        return false;
    }
    settings.dirty = false;
    return true;
}

void resetSettings()
{
    table() = SettingsTable();
}

QString applicationFontText()
{
    return boolSetting(Setting::OverrideSystemFont) ? stringSetting(Setting::AppFont) : QString();
}

QString printerFontText()
{
    const QString chosen = stringSetting(Setting::PrinterFont);
    return boolSetting(Setting::OverridePrinterFont) && !chosen.isEmpty() ? chosen
                                                                          : stringSetting(Setting::ReadFont);
}

QString toolBarLayout(ToolBarWindow window, ToolBarKind bar)
{
    static constexpr Setting s_layouts[4][3] = {
        {Setting::ToolbarMainMain, Setting::ToolbarMainGroup, Setting::ToolbarMainMessage},
        {Setting::ToolbarGroupListMain, Setting::ToolbarGroupListGroup, Setting::ToolbarGroupListMessage},
        {Setting::ToolbarGroupViewMain, Setting::ToolbarGroupViewGroup, Setting::ToolbarGroupViewMessage},
        {Setting::ToolbarMessageViewMain, Setting::ToolbarMessageViewGroup,
         Setting::ToolbarMessageViewMessage},
    };
    static constexpr Setting s_fallbacks[3] = {Setting::ToolbarGroupList, Setting::ToolbarGroupView,
                                               Setting::ToolbarMessageView};
    const QString layout = stringSetting(s_layouts[int(window)][int(bar)]);
    return layout.isEmpty() ? stringSetting(s_fallbacks[int(bar)]) : layout;
}

QRect windowGeometry(Setting id)
{
    const QStringList pieces = stringSetting(id).split(u',');
    if (pieces.size() != 4)
        return {};
    int numbers[4];
    for (int i = 0; i < 4; ++i) {
        bool isNumber = false;
        numbers[i] = pieces[i].trimmed().toInt(&isNumber);
        if (!isNumber)
            return {};
    }
    return {numbers[0], numbers[1], numbers[2], numbers[3]};
}

void setWindowGeometry(Setting id, const QRect &geometry)
{
    setStringSetting(id, u"%1,%2,%3,%4"_s.arg(geometry.left())
                             .arg(geometry.top())
                             .arg(geometry.width())
                             .arg(geometry.height()));
}

bool isOnline()
{
    if (!boolSetting(Setting::IgnoreOnlineStatus) && platform()) {
        if (const std::optional<bool> connected = platform()->isConnected())
            return *connected;
    }
    return boolSetting(Setting::Online);
}

void setOnline(bool online)
{
    setBoolSetting(Setting::Online, online);
    if (platform())
        platform()->setConnected(online);
}
