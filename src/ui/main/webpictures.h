#pragma once

#include "ui/reader/remotecontent.h"

class Engine;

/// The engine's pictures from the web, as the reader asks for them.
class WebPictures : public RemoteContent
{
public:
    /// @p engine must outlive this.
    explicit WebPictures(Engine &engine)
        : m_engine(engine)
    {}

    Availability availability() const override;
    bool isTrusted(const QString &sender) const override;
    void trust(const QString &sender) override;
    std::unique_ptr<Session> open() override;

private:
    Engine &m_engine;
};
