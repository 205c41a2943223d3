#pragma once
// The common look of the dialog family (used inside generic/ only).

#include <QColor>

class QLabel;
class QPushButton;
class QStyle;
class QWidget;

namespace Generic {

class ResultButtonInfo;

// Button colours of the family; captions are white on all of them.
inline const QColor kAcceptColour(50, 181, 50);
inline const QColor kCancelColour(181, 50, 50);
inline const QColor kHelpColour(50, 120, 181);

// Paints the widget's background with "/home/resources/image/DialogBackground.png", or
// with the compiled-in picture when the display's resource folder lacks it.
void ApplyDialogBackground(QWidget *widget);

// Makes a contents frame a raised panel filled with the application palette.
void ApplyContentsFrame(QWidget *frame);

// A dialog's title never clips: it keeps its form's font while the text fits the label's
// width, else it is drawn smaller, down to kSmallestTitlePoints, and a title that does not
// fit even then is wrapped onto two lines of a size that fits the label's height. The
// label takes the width its dialog gives it rather than asking for the text's width.
// Refitted whenever the label is resized; call SetTitleText to change the text.
inline constexpr int kSmallestTitlePoints = 14;
void FitTitleToLabel(QLabel *title);
void SetTitleText(QLabel *title, const QString &text);

// The family's flat look on top of the application's style: command buttons are filled
// with exactly their palette's Button colour (darker while pressed) and a progress bar's
// chunk with exactly its Highlight colour, instead of the shaded gradients the stock
// styles derive from those colours. One instance per process, owned by the application.
QStyle *FlatStyle();

// Gives a button its colour with a white caption, drawn by FlatStyle(). The colour is set for the active and
// the inactive colour group: a display without a window manager does not always
// activate the window on top, and a dialog's buttons must not turn grey for that. The
// disabled group keeps the style's greyed look.
void ColourButton(QWidget *button, const QColor &colour);

// Shows the button with the info's picture and caption, or hides it when the info says
// there is none; returns whether it is shown.
bool ApplyButtonInfo(QPushButton *button, const ResultButtonInfo &info);

// A captioned button is made wide enough for its caption and picture, with kCaptionMargin
// of room on each side beyond the style's own, and never narrower than its form made it.
inline constexpr int kCaptionMargin = 6;
void FitCaption(QPushButton *button);

} // namespace Generic
