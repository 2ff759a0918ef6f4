#pragma once

#include "config/listfile.h"
#include "ui/look/colours.h"
#include "ui/look/metrics.h"

#include <QFont>
#include <QObject>

#include <memory>

class DesktopScheme;

enum class Look { Desktop, Light, Dark, HighContrast };
constexpr int kLookCount = int(Look::HighContrast) + 1;

/// The look that the user chose and how close the rows stand, kept in the file "Look" of the configuration
/// directory. One of these per program; it gives the application its style, palette and font, and changes
/// them while windows are open.
class Looks : public QObject
{
    Q_OBJECT

public:
    explicit Looks(QObject *parent = nullptr);
    ~Looks() override;

    /// Reads the file, installs the style and shows the look. Once, before the first window.
    void start();

    Look look() const { return m_look; }
    Density density() const { return m_density; }
    /// What is shown: Desktop settled, and high contrast light or dark as the desktop is.
    Scheme scheme() const;

    /// Each writes the file and changes what is shown at once. False: it is shown but could not be kept.
    bool setLook(Look look);
    bool setDensity(Density density);

    /// The font of the application, for the windows that are open too.
    void setFont(const QFont &font);

signals:
    /// Colours, sizes or the font have changed: colour() and the sizes are the new ones, the palettes of
    /// widgets follow with their next events. For what was made out of colours or sizes and kept: documents,
    /// column widths.
    void lookChanged();

private:
    void read();
    bool write();
    void show();

    ListFile m_file;
    std::unique_ptr<DesktopScheme> m_desktop;
    Look m_look = Look::Desktop;
    Density m_density = Density::Comfortable;
    bool m_started = false;
};
