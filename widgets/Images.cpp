#include "Images.h"

#include <QBrush>
#include <QDir>
#include <QPalette>
#include <QPixmapCache>
#include <QWidget>

// The compiled-in pictures live in a static library; their resource must be registered
// by name or the linker drops it.
static void InitCompiledInImages()
{
    Q_INIT_RESOURCE(qvb_images);
}

namespace Images {
namespace {

const char *const kFileNames[Count] = {
    "images:Undefined.png", // 0
    "images:SatPlotBackground.png",
    "images:SatPlotForeground.png",
    "images:SatPlotTrackedSat.png",
    "images:SatPlotInViewSat.png",
    "images:ListSpacer.png",
    "images:Exit.png",
    "images:Bullet.png",
    "images:bullet-empty.png",
    "images:bullet-green.png",
    "images:Product.png", // 10
    "images:ProductMix.png",
    "images:BoundaryOutside.png",
    "images:BoundaryInside.png",
    "images:crosshairs.png",
    "images:Cycle1.png",
    "images:Notes.png",
    "images:PausePoint.png",
    "images:ResumePoint.png",
    "images:Pause.png",
    "images:Resume.png", // 20
    "images:Summary.png",
    "images:WarningSmall.png",
    "images:VehicleNoHeading.png",
    "images:Setup.png",
    "images:StandardAccept.png",
    "images:StandardCancel.png",
    "images:KeyboardIcon.png",
    "images:KeypadIcon.png",
    "images:CalendarIcon.png",
    "images:TableIcon.png", // 30
    "images:AddItem.png",
    "images:RemoveItem.png",
    "images:CycleMenu.png",
    "images:CycleMenuPressed.png",
    "images:CycleMenuDisabled.png",
    "images:Increment.png",
    "images:Decrement.png",
    "images:ArrowUp.png",
    "images:ArrowDown.png",
    "images:ArrowLeft.png", // 40
    "images:ArrowRight.png",
    "images:ArrowWhiteUp.png",
    "images:ArrowWhiteDown.png",
    "images:ArrowWhiteLeft.png",
    "images:ArrowWhiteRight.png",
    "images:ArrowSmallLeft.png",
    "images:ArrowSmallRight.png",
    "images:ArrowWhiteLeft.png",
    "images:ArrowWhiteRight.png",
    "images:CloseWindow.png", // 50
    "images:CloseWindowPressed.png",
    "images:SystemButton.png",
    "images:VideoBrightness.png",
    "images:VideoContrast.png",
    "images:VideoAdjust.png",
    "images:MessageInfo.png",
    "images:MessageWarning.png",
    "images:MessageCritical.png",
    "images:MessageWait.png",
    "images:MessageQuestion.png", // 60
    "images:TransparentSpacer.png",
    "images:NumberEdit.png",
    "images:TextEdit.png",
    "images:CheckBoxOff.png",
    "images:CheckBoxOn.png",
    "images:CheckBoxPartial.png",
    "images:KeyShift.png",
    "images:KeyCapsLock.png",
    "images:KeyTab.png",
    "images:KeyEnter.png", // 70
    "images:KeyBackspace.png",
    "images:KeyClearAll.png",
    "images:KeyUp.png",
    "images:KeyDown.png",
    "images:KeyLeft.png",
    "images:KeyRight.png",
    "images:UsbDriveMounted.png",
    "images:UsbDriveMountedLocked.png",
    "images:UsbDriveMountedUnLocked.png",
    "images:UsbDriveUnmounted.png", // 80
    "images:UsbDriveMountedImport.png",
    "images:UsbDriveUnMountedImport.png",
    "images:UsbDriveMountedExport.png",
    "images:UsbDriveUnMountedExport.png",
    "images:SetupMain.png",
    "images:SetupMainLocked.png",
    "images:SetupMainUnlocked.png",
    "images:SetupOperation.png",
    "images:SetupManagement.png",
    "images:SetupGps.png", // 90
    "images:SetupConsole.png",
    "images:DateTime.png",
    "images:VolumeBrightness.png",
    "images:TouchCal.png",
    "images:Date.png",
    "images:Time.png",
    "images:Volume.png",
    "images:Brightness.png",
    "images:PanUp.png",
    "images:PanUpPressed.png", // 100
    "images:PanDown.png",
    "images:PanDownPressed.png",
    "images:PanLeft.png",
    "images:PanLeftPressed.png",
    "images:PanRight.png",
    "images:PanRightPressed.png",
    "images:ZoomIn.png",
    "images:ZoomInPressed.png",
    "images:ZoomOut.png",
    "images:ZoomOutPressed.png", // 110
    "images:ZoomExtents.png",
    "images:containerfill.png",
    "images:containerempty.png",
    "images:containeramount.png",
    "images:alarmbutton-disabled.png",
    "images:alarmbutton-enabled.png",
    "images:rate1.png",
    "images:rate2.png",
    "images:raterx.png",
    "images:rate-cropsensor.png", // 120
    "images:rateman.png",
    "images:rate-setup.png",
    "images:rate-target.png",
    "images:rate-actual.png",
    "images:planter-drive-on.png",
    "images:planter-drive-off.png",
    "images:FenceRowLeftDisabled.png",
    "images:FenceRowLeftOff.png",
    "images:FenceRowLeftOn.png",
    "images:FenceRowRightDisabled.png", // 130
    "images:FenceRowRightOff.png",
    "images:FenceRowRightOn.png",
    "images:CycleInactive.png",
    "images:CyclePressed.png",
    "images:CycleSmallInactive.png",
    "images:CycleSmallPressed.png",
    "images:AreaLoggingOnActive.png",
    "images:AreaLoggingOnInactive.png",
    "images:AreaLoggingOff.png",
    "images:FileLoad.png", // 140
    "images:FileSave.png",
    "images:steer-aquisition.png",
    "images:steer-inactive.png",
    "images:steer-auto.png",
    "images:steer-manual.png",
    "images:SteerWarning.png",
    "images:guidance-cycle-inactive.png",
    "images:guidance-cycle-disabled.png",
    "images:guidance-cycle-pressed.png",
    "images:guidance-seta-inactive.png", // 150
    "images:guidance-seta-pressed.png",
    "images:guidance-setb-disabled.png",
    "images:guidance-setb-inactive.png",
    "images:guidance-setb-pressed.png",
    "images:guidance-smart-inactive.png",
    "images:guidance-smart-disabled.png",
    "images:guidance-smart-pressed.png",
    "images:guidance-straight-inactive.png",
    "images:guidance-straight-disabled.png",
    "images:guidance-straight-pressed.png", // 160
    "images:guidance-spare-inactive.png",
    "images:guidance-spare-pressed.png",
    "images:guidance-unselected-point.png",
    "images:SetABNew.png",
    "images:NudgeLeft.png",
    "images:NudgeLeftDisabled.png",
    "images:NudgeRight.png",
    "images:NudgeRightDisabled.png",
    "images:OffsetLeft.png",
    "images:OffsetRight.png", // 170
    "images:NudgeLargeLeft.png",
    "images:NudgeLargeLeftDisabled.png",
    "images:NudgeLargeRight.png",
    "images:NudgeLargeRightDisabled.png",
    "images:nudge-info-button.png",
    "images:nudge-info-button-pressed.png",
    "images:nudge-cycle.png",
    "images:nudge-group-left.png",
    "images:nudge-group-right.png",
    "images:Heading.png", // 180
    "images:PatternStraight.png",
    "images:PatternSmart.png",
    "images:PatternAdaptive.png",
    "images:PatternIdentical.png",
    "images:PatternPivot.png",
    "images:SetAPoint.png",
    "images:SetABDisabled.png",
    "images:SetBPoint.png",
    "images:boom-center-auto.png",
    "images:boom-center-bottom.png", // 190
    "images:boom-center-down.png",
    "images:boom-center-manual.png",
    "images:boom-center-topc.png",
    "images:boom-center-topl.png",
    "images:boom-center-topr.png",
    "images:boom-center-up.png",
    "images:boom-left-auto.png",
    "images:boom-left-bottom.png",
    "images:boom-left-down.png",
    "images:boom-left-manual.png", // 200
    "images:boom-left-up.png",
    "images:boom-right-auto.png",
    "images:boom-right-bottom.png",
    "images:boom-right-down.png",
    "images:boom-right-manual.png",
    "images:boom-right-up.png",
    "images:boom-roll-ccw.png",
    "images:boom-roll-cw.png",
    "images:channel1-off.png",
    "images:channel1-on.png", // 210
    "images:channel2-off.png",
    "images:channel2-on.png",
    "images:channel3-off.png",
    "images:channel3-on.png",
    "images:channel4-off.png",
    "images:channel4-on.png",
    "images:channel5-off.png",
    "images:channel5-on.png",
    "images:SpinnerOn.png",
    "images:SpinnerOff.png", // 220
    "images:FanBlowerOn.png",
    "images:FanBlowerOff.png",
    "images:FanFrame.png",
    "images:FeedGate.png",
    "images:CombineDiagnostic.png",
    "images:CombineDiagnosticSmall.png",
    "images:CalibrationMoisture.png",
    "images:CalibrationWeight.png",
    "images:ToolboxLegend.png",
    "images:ToolboxMarks.png", // 230
    "images:ToolboxBoundary.png",
    "images:ToolboxGuidance.png",
    "images:ToolboxTabActive.png",
    "images:ToolboxTabInactive.png",
    "images:ToolboxTabPressed.png",
    "images:SwitchOff.png",
    "images:SwitchOn.png",
    "images:MasterSwitchOff.png",
    "images:MasterSwitchOn.png",
    "images:Link.png", // 240
    "images:Unlink.png",
    "images:Dt12Assigned.png",
    "images:Dt12Unassigned.png",
    "images:SwitchBox.png",
    "images:SwitchAssigned.png",
    "images:SwitchUnassigned.png",
    "images:MasterSwitchAssigned.png",
    "images:MasterSwitchUnassigned.png",
    "images:SeedDouble.png",
    "images:SeedSkip.png", // 250
    "images:SeedSpacing.png",
    "images:PauseButton.png",
    "images:PauseButtonPressed.png",
    "images:ResumeButton.png",
    "images:ResumeButtonPressed.png",
    "images:RowHigh.png",
    "images:RowLow.png",
    "images:ImagePlaceHolder.png",
    "images:Boom.png",
    "images:TrackAuto.png", // 260
    "images:TrackManual.png",
    "images:TrackLocked.png",
    "images:TrackCrabRight.png",
    "images:TrackCrabLeft.png",
    "images:TrackStopped.png",
    "images:Twin1Headwind.png",
    "images:Twin2Tailwind.png",
    "images:TwinManual.png",
    "images:TwinSaved.png",
    "images:DualLineOff.png", // 270
    "images:DualLineLow.png",
    "images:DualLineHigh.png",
    "images:DualLineBoth.png",
    "images:BoomLocked.png",
    "images:BoomUnlocked.png",
    "images:BoomHeadlandAssistOff.png",
    "images:BoomHeadlandAssistOn.png",
    "images:BoomRaiseMirror.png",
    "images:BoomHeadlandAssistDelay.png",
    "images:BoomHorizontal.png", // 280
    "images:BoomLockedArrow.png",
    "images:BoomUnlockedArrow.png",
    "images:FoamMarkerOn.png",
    "images:FoamMarkerOff.png",
    "images:AlertEnvelope.png",
    "images:AlertTriangle.png",
    "images:AlertStopSign.png",
    "images:MasterOnTarin.png",
    "images:MasterOffTarin.png",
    "images:FieldNotes/AirTemperature.png", // 290
    "images:FieldNotes/AttributesConditions.png",
    "images:FieldNotes/AttributesEquipment.png",
    "images:FieldNotes/AttributesProduct.png",
    "images:FieldNotes/CropGrowthStage.png",
    "images:FieldNotes/CropResidue.png",
    "images:FieldNotes/CropTarget.png",
    "images:FieldNotes/Humidity.png",
    "images:FieldNotes/Memo.png",
    "images:FieldNotes/NotesSettings.png",
    "images:FieldNotes/OperationTiming.png", // 300
    "images:FieldNotes/PlacementDepth.png",
    "images:FieldNotes/PlacementMethod.png",
    "images:FieldNotes/PlantFertilizer.png",
    "images:FieldNotes/PlantGearSet.png",
    "images:FieldNotes/PlantInsecticide.png",
    "images:FieldNotes/RestrictedCrop.png",
    "images:FieldNotes/RestrictedEntry.png",
    "images:FieldNotes/SeedGermination.png",
    "images:FieldNotes/SeedPopulation.png",
    "images:FieldNotes/SeedSize.png", // 310
    "images:FieldNotes/SeedSpacing.png",
    "images:FieldNotes/SkyCondition.png",
    "images:FieldNotes/SoilCondition.png",
    "images:FieldNotes/SoilMoisture.png",
    "images:FieldNotes/SoilTemperature.png",
    "images:FieldNotes/SprayBoomHeight.png",
    "images:FieldNotes/SprayBoomPressure.png",
    "images:FieldNotes/SprayNozzle.png",
    "images:FieldNotes/SpreaderGate.png",
    "images:FieldNotes/TargetPest.png", // 320
    "images:FieldNotes/TillageType.png",
    "images:FieldNotes/WindDirection.png",
    "images:FieldNotes/WindSpeed.png",
    "images:RecordWarning.png",
    "images:RecordCritical.png",
    "images:RecordNew.png",
    "images:RecordModified.png",
    "images:RecordResolved.png",
    "images:TreeCheckBoxOn.png",
    "images:TreeCheckBoxPartial.png", // 330
    "images:TreeCheckBoxOff.png",
    "images:DisplaySingle.png",
    "images:DisplayMulti.png",
    "images:Computer.png",
    "images:DisplayFirst.png",
    "images:DisplayAdditional.png",
    "images:ConfigFullyUsable.png",
    "images:WarningSmall.png",
    "images:ConfigUnusable.png",
    "images:ModuleOk.png", // 340
    "images:ModuleWarning.png",
    "images:ModuleNotFound.png",
    "images:Locked.png",
    "images:Unlocked.png",
    "images:Enabled.png",
    "images:TramlineLeft.png",
    "images:TramlineRight.png",
};

} // namespace

QString FileName(Type type)
{
    return QString::fromLatin1(kFileNames[type]);
}

} // namespace Images

void InitImageSearchPaths()
{
    static bool done = false;
    if (done)
        return;
    done = true;
    InitCompiledInImages();
    // Order matters: the display's own folders override the compiled-in fallbacks.
    QDir::addSearchPath(QStringLiteral("images"), QStringLiteral("/home/resources/icon/"));
    QDir::addSearchPath(QStringLiteral("images"), QStringLiteral("/home/resources/image/"));
    QDir::addSearchPath(QStringLiteral("images"), QStringLiteral("/home/resources/icon/tarin/"));
    QDir::addSearchPath(QStringLiteral("images"), QStringLiteral(":/Images"));
}

QPixmap LoadPixmap(const QString &name)
{
    QPixmap pixmap;
    if (QPixmapCache::find(name, &pixmap))
        return pixmap;
    pixmap.load(name);
    QPixmapCache::insert(name, pixmap);
    return pixmap;
}

QPixmap ImagePixmap(Images::Type type)
{
    InitImageSearchPaths();
    return LoadPixmap(Images::FileName(type));
}

void SetBackgroundPixmap(QWidget *widget, const QString &file)
{
    QPalette palette = widget->palette();
    palette.setBrush(widget->backgroundRole(), QBrush(LoadPixmap(file)));
    widget->setPalette(palette);
    widget->setAutoFillBackground(true);
}

void SetBackgroundImage(QWidget *widget, Images::Type type)
{
    InitImageSearchPaths();
    SetBackgroundPixmap(widget, Images::FileName(type));
}
