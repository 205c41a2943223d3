#pragma once
// What one dialog button is: whether there is one, its picture, its caption and the
// dialog result it produces (1 accepted, 0 rejected, other values passed through).

#include <QMetaType>
#include <QString>

namespace Generic {

class ResultButtonInfo
{
public:
    // No button.
    ResultButtonInfo();
    ResultButtonInfo(bool visible, int icon, const QString &text, int result);
    ResultButtonInfo(const ResultButtonInfo &) = default;
    ResultButtonInfo &operator=(const ResultButtonInfo &) = default;
    virtual ~ResultButtonInfo();

    bool visible;
    int icon; // an Images::Type value
    QString text; // empty: picture only
    int result;
};

// The presets only choose the field values.
class NoButton : public ResultButtonInfo
{
public:
    NoButton();
};

// Green tick, result 1.
class AcceptButton : public ResultButtonInfo
{
public:
    explicit AcceptButton(const QString &text = QStringLiteral(""));
};

class OkButton : public AcceptButton
{
public:
    explicit OkButton(const QString &text = QStringLiteral(""));
};

class DoneButton : public AcceptButton
{
public:
    DoneButton();
};

// Red cross, result 0.
class CancelButton : public ResultButtonInfo
{
public:
    explicit CancelButton(const QString &text = QStringLiteral(""));
};

} // namespace Generic

// Registered under this name on first construction, so descriptions travel in queued
// signals and slot arguments.
Q_DECLARE_METATYPE(Generic::ResultButtonInfo)
