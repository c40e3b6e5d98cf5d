#pragma once

#include <QDBusConnection>
#include <QDBusVirtualObject>
#include <QList>
#include <QString>
#include <QVariant>

/// A desktop portal on a bus, whose user is the test: it takes every request and answers when told to.
class FakePortal final : public QDBusVirtualObject {
public:
    struct Request {
        QString method;
        QVariantList arguments;
        QVariantMap options;
        /// Of a file that was handed over.
        QByteArray fileContent;
        QString path;
        QString sender;
    };

    explicit FakePortal(const QString& busAddress);
    ~FakePortal() override;

    /// Answers the oldest request: 0 when the user has agreed, 1 when not.
    void answer(uint response, const QVariantMap& results = {});

    QList<Request> requests;

    bool handleMessage(const QDBusMessage& message, const QDBusConnection& connection) override;
    QString introspect(const QString&) const override { return {}; }

private:
    QDBusConnection bus;
};
