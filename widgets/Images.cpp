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

// One row per image, naming its enumerator beside its file, in enumerator order. The
// check below makes a row out of place, a missing row or an extra one a compile error,
// so the enumeration and the table cannot drift apart.
struct Row
{
    Type type;
    const char *fileName;
};
constexpr Row kTable[] = {
    {Undefined, "images:Undefined.png"},
    {SatPlotBackground, "images:SatPlotBackground.png"},
    {SatPlotForeground, "images:SatPlotForeground.png"},
    {SatPlotTrackedSat, "images:SatPlotTrackedSat.png"},
    {SatPlotInViewSat, "images:SatPlotInViewSat.png"},
    {ListSpacer, "images:ListSpacer.png"},
    {Exit, "images:Exit.png"},
    {Bullet, "images:Bullet.png"},
    {bullet_empty, "images:bullet-empty.png"},
    {bullet_green, "images:bullet-green.png"},
    {Product, "images:Product.png"},
    {ProductMix, "images:ProductMix.png"},
    {BoundaryOutside, "images:BoundaryOutside.png"},
    {BoundaryInside, "images:BoundaryInside.png"},
    {crosshairs, "images:crosshairs.png"},
    {Cycle1, "images:Cycle1.png"},
    {Notes, "images:Notes.png"},
    {PausePoint, "images:PausePoint.png"},
    {ResumePoint, "images:ResumePoint.png"},
    {Pause, "images:Pause.png"},
    {Resume, "images:Resume.png"},
    {Summary, "images:Summary.png"},
    {WarningSmall, "images:WarningSmall.png"},
    {VehicleNoHeading, "images:VehicleNoHeading.png"},
    {Setup, "images:Setup.png"},
    {StandardAccept, "images:StandardAccept.png"},
    {StandardCancel, "images:StandardCancel.png"},
    {KeyboardIcon, "images:KeyboardIcon.png"},
    {KeypadIcon, "images:KeypadIcon.png"},
    {CalendarIcon, "images:CalendarIcon.png"},
    {TableIcon, "images:TableIcon.png"},
    {AddItem, "images:AddItem.png"},
    {RemoveItem, "images:RemoveItem.png"},
    {CycleMenu, "images:CycleMenu.png"},
    {CycleMenuPressed, "images:CycleMenuPressed.png"},
    {CycleMenuDisabled, "images:CycleMenuDisabled.png"},
    {Increment, "images:Increment.png"},
    {Decrement, "images:Decrement.png"},
    {ArrowUp, "images:ArrowUp.png"},
    {ArrowDown, "images:ArrowDown.png"},
    {ArrowLeft, "images:ArrowLeft.png"},
    {ArrowRight, "images:ArrowRight.png"},
    {ArrowWhiteUp, "images:ArrowWhiteUp.png"},
    {ArrowWhiteDown, "images:ArrowWhiteDown.png"},
    {ArrowWhiteLeft, "images:ArrowWhiteLeft.png"},
    {ArrowWhiteRight, "images:ArrowWhiteRight.png"},
    {ArrowSmallLeft, "images:ArrowSmallLeft.png"},
    {ArrowSmallRight, "images:ArrowSmallRight.png"},
    {ArrowWhiteLeft2, "images:ArrowWhiteLeft.png"},
    {ArrowWhiteRight2, "images:ArrowWhiteRight.png"},
    {CloseWindow, "images:CloseWindow.png"},
    {CloseWindowPressed, "images:CloseWindowPressed.png"},
    {SystemButton, "images:SystemButton.png"},
    {VideoBrightness, "images:VideoBrightness.png"},
    {VideoContrast, "images:VideoContrast.png"},
    {VideoAdjust, "images:VideoAdjust.png"},
    {MessageInfo, "images:MessageInfo.png"},
    {MessageWarning, "images:MessageWarning.png"},
    {MessageCritical, "images:MessageCritical.png"},
    {MessageWait, "images:MessageWait.png"},
    {MessageQuestion, "images:MessageQuestion.png"},
    {TransparentSpacer, "images:TransparentSpacer.png"},
    {NumberEdit, "images:NumberEdit.png"},
    {TextEdit, "images:TextEdit.png"},
    {CheckBoxOff, "images:CheckBoxOff.png"},
    {CheckBoxOn, "images:CheckBoxOn.png"},
    {CheckBoxPartial, "images:CheckBoxPartial.png"},
    {KeyShift, "images:KeyShift.png"},
    {KeyCapsLock, "images:KeyCapsLock.png"},
    {KeyTab, "images:KeyTab.png"},
    {KeyEnter, "images:KeyEnter.png"},
    {KeyBackspace, "images:KeyBackspace.png"},
    {KeyClearAll, "images:KeyClearAll.png"},
    {KeyUp, "images:KeyUp.png"},
    {KeyDown, "images:KeyDown.png"},
    {KeyLeft, "images:KeyLeft.png"},
    {KeyRight, "images:KeyRight.png"},
    {UsbDriveMounted, "images:UsbDriveMounted.png"},
    {UsbDriveMountedLocked, "images:UsbDriveMountedLocked.png"},
    {UsbDriveMountedUnLocked, "images:UsbDriveMountedUnLocked.png"},
    {UsbDriveUnmounted, "images:UsbDriveUnmounted.png"},
    {UsbDriveMountedImport, "images:UsbDriveMountedImport.png"},
    {UsbDriveUnMountedImport, "images:UsbDriveUnMountedImport.png"},
    {UsbDriveMountedExport, "images:UsbDriveMountedExport.png"},
    {UsbDriveUnMountedExport, "images:UsbDriveUnMountedExport.png"},
    {SetupMain, "images:SetupMain.png"},
    {SetupMainLocked, "images:SetupMainLocked.png"},
    {SetupMainUnlocked, "images:SetupMainUnlocked.png"},
    {SetupOperation, "images:SetupOperation.png"},
    {SetupManagement, "images:SetupManagement.png"},
    {SetupGps, "images:SetupGps.png"},
    {SetupConsole, "images:SetupConsole.png"},
    {DateTime, "images:DateTime.png"},
    {VolumeBrightness, "images:VolumeBrightness.png"},
    {TouchCal, "images:TouchCal.png"},
    {Date, "images:Date.png"},
    {Time, "images:Time.png"},
    {Volume, "images:Volume.png"},
    {Brightness, "images:Brightness.png"},
    {PanUp, "images:PanUp.png"},
    {PanUpPressed, "images:PanUpPressed.png"},
    {PanDown, "images:PanDown.png"},
    {PanDownPressed, "images:PanDownPressed.png"},
    {PanLeft, "images:PanLeft.png"},
    {PanLeftPressed, "images:PanLeftPressed.png"},
    {PanRight, "images:PanRight.png"},
    {PanRightPressed, "images:PanRightPressed.png"},
    {ZoomIn, "images:ZoomIn.png"},
    {ZoomInPressed, "images:ZoomInPressed.png"},
    {ZoomOut, "images:ZoomOut.png"},
    {ZoomOutPressed, "images:ZoomOutPressed.png"},
    {ZoomExtents, "images:ZoomExtents.png"},
    {containerfill, "images:containerfill.png"},
    {containerempty, "images:containerempty.png"},
    {containeramount, "images:containeramount.png"},
    {alarmbutton_disabled, "images:alarmbutton-disabled.png"},
    {alarmbutton_enabled, "images:alarmbutton-enabled.png"},
    {rate1, "images:rate1.png"},
    {rate2, "images:rate2.png"},
    {raterx, "images:raterx.png"},
    {rate_cropsensor, "images:rate-cropsensor.png"},
    {rateman, "images:rateman.png"},
    {rate_setup, "images:rate-setup.png"},
    {rate_target, "images:rate-target.png"},
    {rate_actual, "images:rate-actual.png"},
    {planter_drive_on, "images:planter-drive-on.png"},
    {planter_drive_off, "images:planter-drive-off.png"},
    {FenceRowLeftDisabled, "images:FenceRowLeftDisabled.png"},
    {FenceRowLeftOff, "images:FenceRowLeftOff.png"},
    {FenceRowLeftOn, "images:FenceRowLeftOn.png"},
    {FenceRowRightDisabled, "images:FenceRowRightDisabled.png"},
    {FenceRowRightOff, "images:FenceRowRightOff.png"},
    {FenceRowRightOn, "images:FenceRowRightOn.png"},
    {CycleInactive, "images:CycleInactive.png"},
    {CyclePressed, "images:CyclePressed.png"},
    {CycleSmallInactive, "images:CycleSmallInactive.png"},
    {CycleSmallPressed, "images:CycleSmallPressed.png"},
    {AreaLoggingOnActive, "images:AreaLoggingOnActive.png"},
    {AreaLoggingOnInactive, "images:AreaLoggingOnInactive.png"},
    {AreaLoggingOff, "images:AreaLoggingOff.png"},
    {FileLoad, "images:FileLoad.png"},
    {FileSave, "images:FileSave.png"},
    {steer_aquisition, "images:steer-aquisition.png"},
    {steer_inactive, "images:steer-inactive.png"},
    {steer_auto, "images:steer-auto.png"},
    {steer_manual, "images:steer-manual.png"},
    {SteerWarning, "images:SteerWarning.png"},
    {guidance_cycle_inactive, "images:guidance-cycle-inactive.png"},
    {guidance_cycle_disabled, "images:guidance-cycle-disabled.png"},
    {guidance_cycle_pressed, "images:guidance-cycle-pressed.png"},
    {guidance_seta_inactive, "images:guidance-seta-inactive.png"},
    {guidance_seta_pressed, "images:guidance-seta-pressed.png"},
    {guidance_setb_disabled, "images:guidance-setb-disabled.png"},
    {guidance_setb_inactive, "images:guidance-setb-inactive.png"},
    {guidance_setb_pressed, "images:guidance-setb-pressed.png"},
    {guidance_smart_inactive, "images:guidance-smart-inactive.png"},
    {guidance_smart_disabled, "images:guidance-smart-disabled.png"},
    {guidance_smart_pressed, "images:guidance-smart-pressed.png"},
    {guidance_straight_inactive, "images:guidance-straight-inactive.png"},
    {guidance_straight_disabled, "images:guidance-straight-disabled.png"},
    {guidance_straight_pressed, "images:guidance-straight-pressed.png"},
    {guidance_spare_inactive, "images:guidance-spare-inactive.png"},
    {guidance_spare_pressed, "images:guidance-spare-pressed.png"},
    {guidance_unselected_point, "images:guidance-unselected-point.png"},
    {SetABNew, "images:SetABNew.png"},
    {NudgeLeft, "images:NudgeLeft.png"},
    {NudgeLeftDisabled, "images:NudgeLeftDisabled.png"},
    {NudgeRight, "images:NudgeRight.png"},
    {NudgeRightDisabled, "images:NudgeRightDisabled.png"},
    {OffsetLeft, "images:OffsetLeft.png"},
    {OffsetRight, "images:OffsetRight.png"},
    {NudgeLargeLeft, "images:NudgeLargeLeft.png"},
    {NudgeLargeLeftDisabled, "images:NudgeLargeLeftDisabled.png"},
    {NudgeLargeRight, "images:NudgeLargeRight.png"},
    {NudgeLargeRightDisabled, "images:NudgeLargeRightDisabled.png"},
    {nudge_info_button, "images:nudge-info-button.png"},
    {nudge_info_button_pressed, "images:nudge-info-button-pressed.png"},
    {nudge_cycle, "images:nudge-cycle.png"},
    {nudge_group_left, "images:nudge-group-left.png"},
    {nudge_group_right, "images:nudge-group-right.png"},
    {Heading, "images:Heading.png"},
    {PatternStraight, "images:PatternStraight.png"},
    {PatternSmart, "images:PatternSmart.png"},
    {PatternAdaptive, "images:PatternAdaptive.png"},
    {PatternIdentical, "images:PatternIdentical.png"},
    {PatternPivot, "images:PatternPivot.png"},
    {SetAPoint, "images:SetAPoint.png"},
    {SetABDisabled, "images:SetABDisabled.png"},
    {SetBPoint, "images:SetBPoint.png"},
    {boom_center_auto, "images:boom-center-auto.png"},
    {boom_center_bottom, "images:boom-center-bottom.png"},
    {boom_center_down, "images:boom-center-down.png"},
    {boom_center_manual, "images:boom-center-manual.png"},
    {boom_center_topc, "images:boom-center-topc.png"},
    {boom_center_topl, "images:boom-center-topl.png"},
    {boom_center_topr, "images:boom-center-topr.png"},
    {boom_center_up, "images:boom-center-up.png"},
    {boom_left_auto, "images:boom-left-auto.png"},
    {boom_left_bottom, "images:boom-left-bottom.png"},
    {boom_left_down, "images:boom-left-down.png"},
    {boom_left_manual, "images:boom-left-manual.png"},
    {boom_left_up, "images:boom-left-up.png"},
    {boom_right_auto, "images:boom-right-auto.png"},
    {boom_right_bottom, "images:boom-right-bottom.png"},
    {boom_right_down, "images:boom-right-down.png"},
    {boom_right_manual, "images:boom-right-manual.png"},
    {boom_right_up, "images:boom-right-up.png"},
    {boom_roll_ccw, "images:boom-roll-ccw.png"},
    {boom_roll_cw, "images:boom-roll-cw.png"},
    {channel1_off, "images:channel1-off.png"},
    {channel1_on, "images:channel1-on.png"},
    {channel2_off, "images:channel2-off.png"},
    {channel2_on, "images:channel2-on.png"},
    {channel3_off, "images:channel3-off.png"},
    {channel3_on, "images:channel3-on.png"},
    {channel4_off, "images:channel4-off.png"},
    {channel4_on, "images:channel4-on.png"},
    {channel5_off, "images:channel5-off.png"},
    {channel5_on, "images:channel5-on.png"},
    {SpinnerOn, "images:SpinnerOn.png"},
    {SpinnerOff, "images:SpinnerOff.png"},
    {FanBlowerOn, "images:FanBlowerOn.png"},
    {FanBlowerOff, "images:FanBlowerOff.png"},
    {FanFrame, "images:FanFrame.png"},
    {FeedGate, "images:FeedGate.png"},
    {CombineDiagnostic, "images:CombineDiagnostic.png"},
    {CombineDiagnosticSmall, "images:CombineDiagnosticSmall.png"},
    {CalibrationMoisture, "images:CalibrationMoisture.png"},
    {CalibrationWeight, "images:CalibrationWeight.png"},
    {ToolboxLegend, "images:ToolboxLegend.png"},
    {ToolboxMarks, "images:ToolboxMarks.png"},
    {ToolboxBoundary, "images:ToolboxBoundary.png"},
    {ToolboxGuidance, "images:ToolboxGuidance.png"},
    {ToolboxTabActive, "images:ToolboxTabActive.png"},
    {ToolboxTabInactive, "images:ToolboxTabInactive.png"},
    {ToolboxTabPressed, "images:ToolboxTabPressed.png"},
    {SwitchOff, "images:SwitchOff.png"},
    {SwitchOn, "images:SwitchOn.png"},
    {MasterSwitchOff, "images:MasterSwitchOff.png"},
    {MasterSwitchOn, "images:MasterSwitchOn.png"},
    {Link, "images:Link.png"},
    {Unlink, "images:Unlink.png"},
    {Dt12Assigned, "images:Dt12Assigned.png"},
    {Dt12Unassigned, "images:Dt12Unassigned.png"},
    {SwitchBox, "images:SwitchBox.png"},
    {SwitchAssigned, "images:SwitchAssigned.png"},
    {SwitchUnassigned, "images:SwitchUnassigned.png"},
    {MasterSwitchAssigned, "images:MasterSwitchAssigned.png"},
    {MasterSwitchUnassigned, "images:MasterSwitchUnassigned.png"},
    {SeedDouble, "images:SeedDouble.png"},
    {SeedSkip, "images:SeedSkip.png"},
    {SeedSpacing, "images:SeedSpacing.png"},
    {PauseButton, "images:PauseButton.png"},
    {PauseButtonPressed, "images:PauseButtonPressed.png"},
    {ResumeButton, "images:ResumeButton.png"},
    {ResumeButtonPressed, "images:ResumeButtonPressed.png"},
    {RowHigh, "images:RowHigh.png"},
    {RowLow, "images:RowLow.png"},
    {ImagePlaceHolder, "images:ImagePlaceHolder.png"},
    {Boom, "images:Boom.png"},
    {TrackAuto, "images:TrackAuto.png"},
    {TrackManual, "images:TrackManual.png"},
    {TrackLocked, "images:TrackLocked.png"},
    {TrackCrabRight, "images:TrackCrabRight.png"},
    {TrackCrabLeft, "images:TrackCrabLeft.png"},
    {TrackStopped, "images:TrackStopped.png"},
    {Twin1Headwind, "images:Twin1Headwind.png"},
    {Twin2Tailwind, "images:Twin2Tailwind.png"},
    {TwinManual, "images:TwinManual.png"},
    {TwinSaved, "images:TwinSaved.png"},
    {DualLineOff, "images:DualLineOff.png"},
    {DualLineLow, "images:DualLineLow.png"},
    {DualLineHigh, "images:DualLineHigh.png"},
    {DualLineBoth, "images:DualLineBoth.png"},
    {BoomLocked, "images:BoomLocked.png"},
    {BoomUnlocked, "images:BoomUnlocked.png"},
    {BoomHeadlandAssistOff, "images:BoomHeadlandAssistOff.png"},
    {BoomHeadlandAssistOn, "images:BoomHeadlandAssistOn.png"},
    {BoomRaiseMirror, "images:BoomRaiseMirror.png"},
    {BoomHeadlandAssistDelay, "images:BoomHeadlandAssistDelay.png"},
    {BoomHorizontal, "images:BoomHorizontal.png"},
    {BoomLockedArrow, "images:BoomLockedArrow.png"},
    {BoomUnlockedArrow, "images:BoomUnlockedArrow.png"},
    {FoamMarkerOn, "images:FoamMarkerOn.png"},
    {FoamMarkerOff, "images:FoamMarkerOff.png"},
    {AlertEnvelope, "images:AlertEnvelope.png"},
    {AlertTriangle, "images:AlertTriangle.png"},
    {AlertStopSign, "images:AlertStopSign.png"},
    {MasterOnTarin, "images:MasterOnTarin.png"},
    {MasterOffTarin, "images:MasterOffTarin.png"},
    {FieldNotes_AirTemperature, "images:FieldNotes/AirTemperature.png"},
    {FieldNotes_AttributesConditions, "images:FieldNotes/AttributesConditions.png"},
    {FieldNotes_AttributesEquipment, "images:FieldNotes/AttributesEquipment.png"},
    {FieldNotes_AttributesProduct, "images:FieldNotes/AttributesProduct.png"},
    {FieldNotes_CropGrowthStage, "images:FieldNotes/CropGrowthStage.png"},
    {FieldNotes_CropResidue, "images:FieldNotes/CropResidue.png"},
    {FieldNotes_CropTarget, "images:FieldNotes/CropTarget.png"},
    {FieldNotes_Humidity, "images:FieldNotes/Humidity.png"},
    {FieldNotes_Memo, "images:FieldNotes/Memo.png"},
    {FieldNotes_NotesSettings, "images:FieldNotes/NotesSettings.png"},
    {FieldNotes_OperationTiming, "images:FieldNotes/OperationTiming.png"},
    {FieldNotes_PlacementDepth, "images:FieldNotes/PlacementDepth.png"},
    {FieldNotes_PlacementMethod, "images:FieldNotes/PlacementMethod.png"},
    {FieldNotes_PlantFertilizer, "images:FieldNotes/PlantFertilizer.png"},
    {FieldNotes_PlantGearSet, "images:FieldNotes/PlantGearSet.png"},
    {FieldNotes_PlantInsecticide, "images:FieldNotes/PlantInsecticide.png"},
    {FieldNotes_RestrictedCrop, "images:FieldNotes/RestrictedCrop.png"},
    {FieldNotes_RestrictedEntry, "images:FieldNotes/RestrictedEntry.png"},
    {FieldNotes_SeedGermination, "images:FieldNotes/SeedGermination.png"},
    {FieldNotes_SeedPopulation, "images:FieldNotes/SeedPopulation.png"},
    {FieldNotes_SeedSize, "images:FieldNotes/SeedSize.png"},
    {FieldNotes_SeedSpacing, "images:FieldNotes/SeedSpacing.png"},
    {FieldNotes_SkyCondition, "images:FieldNotes/SkyCondition.png"},
    {FieldNotes_SoilCondition, "images:FieldNotes/SoilCondition.png"},
    {FieldNotes_SoilMoisture, "images:FieldNotes/SoilMoisture.png"},
    {FieldNotes_SoilTemperature, "images:FieldNotes/SoilTemperature.png"},
    {FieldNotes_SprayBoomHeight, "images:FieldNotes/SprayBoomHeight.png"},
    {FieldNotes_SprayBoomPressure, "images:FieldNotes/SprayBoomPressure.png"},
    {FieldNotes_SprayNozzle, "images:FieldNotes/SprayNozzle.png"},
    {FieldNotes_SpreaderGate, "images:FieldNotes/SpreaderGate.png"},
    {FieldNotes_TargetPest, "images:FieldNotes/TargetPest.png"},
    {FieldNotes_TillageType, "images:FieldNotes/TillageType.png"},
    {FieldNotes_WindDirection, "images:FieldNotes/WindDirection.png"},
    {FieldNotes_WindSpeed, "images:FieldNotes/WindSpeed.png"},
    {RecordWarning, "images:RecordWarning.png"},
    {RecordCritical, "images:RecordCritical.png"},
    {RecordNew, "images:RecordNew.png"},
    {RecordModified, "images:RecordModified.png"},
    {RecordResolved, "images:RecordResolved.png"},
    {TreeCheckBoxOn, "images:TreeCheckBoxOn.png"},
    {TreeCheckBoxPartial, "images:TreeCheckBoxPartial.png"},
    {TreeCheckBoxOff, "images:TreeCheckBoxOff.png"},
    {DisplaySingle, "images:DisplaySingle.png"},
    {DisplayMulti, "images:DisplayMulti.png"},
    {Computer, "images:Computer.png"},
    {DisplayFirst, "images:DisplayFirst.png"},
    {DisplayAdditional, "images:DisplayAdditional.png"},
    {ConfigFullyUsable, "images:ConfigFullyUsable.png"},
    {WarningSmall2, "images:WarningSmall.png"},
    {ConfigUnusable, "images:ConfigUnusable.png"},
    {ModuleOk, "images:ModuleOk.png"},
    {ModuleWarning, "images:ModuleWarning.png"},
    {ModuleNotFound, "images:ModuleNotFound.png"},
    {Locked, "images:Locked.png"},
    {Unlocked, "images:Unlocked.png"},
    {Enabled, "images:Enabled.png"},
    {TramlineLeft, "images:TramlineLeft.png"},
    {TramlineRight, "images:TramlineRight.png"},
};

constexpr bool InEnumeratorOrder()
{
    for (int i = 0; i < kCount; ++i) {
        if (kTable[i].type != i)
            return false;
    }
    return true;
}
static_assert(sizeof kTable / sizeof kTable[0] == kCount, "one row per image");
static_assert(InEnumeratorOrder(), "the rows follow the enumerators");

} // namespace

QString FileName(Type type)
{
    return QString::fromLatin1(kTable[type].fileName);
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
