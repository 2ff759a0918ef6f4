#pragma once

#include <QObject>
#include <QString>

#include <functional>
#include <vector>

class Engine;
class Looks;
class MainWindow;

/// Shows what the program can do without anybody at the screen: a few scenes of the window, saved as
/// pictures, each told on standard output. Ends the program afterwards.
class Pictures : public QObject
{
    Q_OBJECT

public:
    Pictures(MainWindow &window, Engine &engine, Looks &looks, const QString &directory, QObject *parent);

    void start();

private:
    struct Scene
    {
        const char *name; ///< of the picture's file
        const char *told;
        std::function<void()> set;
    };

    void next();
    void save(const Scene &scene);
    void showMessage(const QString &subject);

    MainWindow &m_window;
    Engine &m_engine;
    Looks &m_looks;
    QString m_directory;
    std::vector<Scene> m_scenes;
    std::size_t m_at = 0;
    bool m_failed = false;
};
