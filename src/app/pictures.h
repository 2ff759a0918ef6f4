#pragma once

#include <QFont>
#include <QObject>
#include <QPointer>
#include <QString>

#include <functional>
#include <vector>

class Engine;
class Looks;
class MainWindow;

/// Pictures of the windows with the invented mailbox in them: sets one scene after the other, saves each, and
/// ends the program.
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

    void addMainScenes();
    void addOtherScenes();
    void next();
    void save(const Scene &scene);
    void showMessage(const QString &subject);
    void act(const char *action);
    void press(int key, const QString &text = {});
    void type(const char *text);
    void closeFront();

    MainWindow &m_window;
    Engine &m_engine;
    Looks &m_looks;
    QString m_directory;
    QFont m_font;
    std::vector<Scene> m_scenes;
    std::size_t m_at = 0;
    bool m_failed = false;
};
