#include "ResultButtonInfo.h"

#include "Images.h"

namespace Generic {
namespace {

void RegisterMetaType()
{
    static const int id = qRegisterMetaType<Generic::ResultButtonInfo>("Generic::ResultButtonInfo");
    Q_UNUSED(id)
}

} // namespace

ResultButtonInfo::ResultButtonInfo()
    : visible(false)
    , icon(Images::Undefined)
    , result(0)
{
    RegisterMetaType();
}

ResultButtonInfo::ResultButtonInfo(bool visible, int icon, const QString &text, int result)
    : visible(visible)
    , icon(icon)
    , text(text)
    , result(result)
{
    RegisterMetaType();
}

ResultButtonInfo::~ResultButtonInfo() = default;

NoButton::NoButton() = default;

AcceptButton::AcceptButton(const QString &text)
    : ResultButtonInfo(true, Images::StandardAccept, text, 1)
{
}

OkButton::OkButton(const QString &text)
    : AcceptButton(text)
{
}

DoneButton::DoneButton()
    : AcceptButton(QStringLiteral(""))
{
}

CancelButton::CancelButton(const QString &text)
    : ResultButtonInfo(true, Images::StandardCancel, text, 0)
{
}

} // namespace Generic
