#include "compose/messagebuilder.h"
#include "config/settings.h"
#include "config/settingstable.h"
#include "engine/outbox.h"
#include "ui/options/optionrow.h"

namespace {

constexpr int kUndoDelay = 10; ///< seconds, as the outbox has it while nobody chose

SettingType typeOf(Setting id)
{
    // Three names are crossed with their keys (settingids.h); all three are Boolean.
    return kSettings[std::size_t(id) - 1].type;
}

QVariant tableValue(const OptionRow &row)
{
    switch (typeOf(row.setting)) {
    case SettingType::Boolean: return boolSetting(row.setting);
    case SettingType::Integer: return intSetting(row.setting);
    case SettingType::String: return stringSetting(row.setting);
    }
    return {};
}

QVariant tableDefault(const OptionRow &row)
{
    switch (typeOf(row.setting)) {
    case SettingType::Boolean: return defaultBoolSetting(row.setting);
    case SettingType::Integer: return defaultIntSetting(row.setting);
    case SettingType::String: return defaultStringSetting(row.setting);
    }
    return {};
}

void setTable(const OptionRow &row, const QVariant &value)
{
    switch (typeOf(row.setting)) {
    case SettingType::Boolean: return setBoolSetting(row.setting, value.toBool());
    case SettingType::Integer: return setIntSetting(row.setting, value.toInt());
    case SettingType::String: return setStringSetting(row.setting, value.toString());
    }
}

QVariant warningValue(const OptionRow &row)
{
    return !isTurnedOff(row.problem);
}

QVariant warningDefault(const OptionRow &row)
{
    return (defaultIntSetting(Setting::DisabledWarnings) & rowOf(row.problem).bit) == 0;
}

void setWarning(const OptionRow &row, const QVariant &value)
{
    turnOff(row.problem, !value.toBool());
}

QVariant undoDelay(const OptionRow &)
{
    return Outbox::undoDelay();
}

QVariant undoDelayDefault(const OptionRow &)
{
    return kUndoDelay;
}

void setUndoDelay(const OptionRow &, const QVariant &value)
{
    Outbox::setUndoDelay(value.toInt());
}

template <bool isArticle>
QVariant filesValue(const OptionRow &)
{
    return int(preferredAttachmentForm(isArticle));
}

QVariant mailFilesDefault(const OptionRow &)
{
    return int(AttachmentForm::Mime);
}

QVariant newsFilesDefault(const OptionRow &)
{
    return int(AttachmentForm::Uuencode);
}

void setMailFiles(const OptionRow &, const QVariant &value)
{
    const auto form = AttachmentForm(value.toInt());
    setBoolSetting(Setting::UseMIMEForMail, form == AttachmentForm::Mime);
    setBoolSetting(Setting::UseUUCodeForMail, form == AttachmentForm::Uuencode);
}

void setNewsFiles(const OptionRow &, const QVariant &value)
{
    const auto form = AttachmentForm(value.toInt());
    setBoolSetting(Setting::UseMIMEForNews, form == AttachmentForm::Mime);
    setBoolSetting(Setting::UseYEncForNews, form == AttachmentForm::Yenc);
    setBoolSetting(Setting::UseUUCodeForNews, form == AttachmentForm::Uuencode);
}

struct StoreRow
{
    OptionStore store;
    QVariant (*value)(const OptionRow &row);
    QVariant (*usual)(const OptionRow &row);
    void (*set)(const OptionRow &row, const QVariant &value);
};
constexpr std::array kStores = {
    StoreRow{OptionStore::Table, tableValue, tableDefault, setTable},
    StoreRow{OptionStore::Warning, warningValue, warningDefault, setWarning},
    StoreRow{OptionStore::UndoDelay, undoDelay, undoDelayDefault, setUndoDelay},
    StoreRow{OptionStore::MailFiles, filesValue<false>, mailFilesDefault, setMailFiles},
    StoreRow{OptionStore::NewsFiles, filesValue<true>, newsFilesDefault, setNewsFiles},
};
static_assert([] {
    for (std::size_t i = 0; i < kStores.size(); ++i)
        if (kStores[i].store != OptionStore(i))
            return false;
    return kStores.back().store == OptionStore::NewsFiles;
}());

const StoreRow &storeOf(const OptionRow &row)
{
    return kStores[std::size_t(row.store)];
}

} // namespace

QVariant optionValue(const OptionRow &row)
{
    return storeOf(row).value(row);
}

QVariant defaultOption(const OptionRow &row)
{
    return storeOf(row).usual(row);
}

void setOption(const OptionRow &row, const QVariant &value)
{
    storeOf(row).set(row, value);
}
