#include "ui/look/looks.h"

#include "config/reporter.h"
#include "ui/look/desktopscheme.h"
#include "ui/look/recolour.h"
#include "ui/look/velmarstyle.h"

#include <QApplication>
#include <QToolTip>

#include <array>

using namespace Qt::StringLiterals;

namespace {

constexpr ListFileTexts kTexts = {"Unable to read the file of the look",
                                  "Unable to write the file of the look",
                                  "Unable to back up the file of the look"};

// as they stand in the file, whatever the language of the windows
constexpr std::array kLookNames = {"desktop", "light", "dark", "high-contrast"};
constexpr std::array kDensityNames = {"comfortable", "compact"};
static_assert(kLookNames.size() == kLookCount);
static_assert(kDensityNames.size() == std::size_t(Density::Compact) + 1);

constexpr auto kLookKey = "look "_L1;
constexpr auto kDensityKey = "density "_L1;

/// The place of @p value in @p names, or -1.
template <typename Names>
int placeOf(const Names &names, QStringView value)
{
    for (std::size_t i = 0; i < names.size(); ++i)
        if (value == QLatin1StringView(names[i]))
            return int(i);
    return -1;
}

} // namespace

Looks::Looks(QObject *parent)
    : QObject(parent)
    , m_file(u"Look"_s, kTexts)
    , m_desktop(std::make_unique<DesktopScheme>())
{
    connect(m_desktop.get(), &DesktopScheme::changed, this, [this] {
        if (m_started && (m_look == Look::Desktop || m_look == Look::HighContrast))
            show();
    });
}

Looks::~Looks() = default;

void Looks::start()
{
    m_desktop->start();
    read();
    m_started = true;
    if (!qobject_cast<VelmarStyle *>(QApplication::style()))
        QApplication::setStyle(new VelmarStyle);
    show();
}

Scheme Looks::scheme() const
{
    switch (m_look) {
    case Look::Light: return Scheme::Light;
    case Look::Dark: return Scheme::Dark;
    case Look::HighContrast:
        return m_desktop->isDark() ? Scheme::HighContrastDark : Scheme::HighContrastLight;
    case Look::Desktop: break;
    }
    return m_desktop->isDark() ? Scheme::Dark : Scheme::Light;
}

bool Looks::setLook(Look look)
{
    if (look == m_look)
        return true;
    m_look = look;
    show();
    return write();
}

bool Looks::setDensity(Density density)
{
    if (density == m_density)
        return true;
    m_density = density;
    show();
    return write();
}

void Looks::setFont(const QFont &font)
{
    QApplication::setFont(font);
    show();
}

void Looks::read()
{
    const ListFile::Contents contents = m_file.read();
    for (const QString &line : contents.lines) {
        int place = -1;
        if (line.startsWith(kLookKey) &&
            (place = placeOf(kLookNames, QStringView(line).mid(kLookKey.size()))) >= 0)
            m_look = Look(place);
        else if (line.startsWith(kDensityKey) &&
                 (place = placeOf(kDensityNames, QStringView(line).mid(kDensityKey.size()))) >= 0)
            m_density = Density(place);
        else
            note(u"Look: the line \"%1\" is not known and was skipped"_s.arg(line));
    }
}

bool Looks::write()
{
    return m_file.write({kLookKey + QLatin1StringView(kLookNames[std::size_t(m_look)]),
                         kDensityKey + QLatin1StringView(kDensityNames[std::size_t(m_density)])});
}

void Looks::show()
{
    setCurrentScheme(scheme());
    setCurrentDensity(m_density);
    QApplication::setPalette(paletteFor(currentScheme()));
    QToolTip::setPalette(paletteFor(currentScheme())); // the platform may have one of its own for them
    recolourWidgets();
    emit lookChanged();
}
