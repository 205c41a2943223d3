#pragma once
// The display's named images and how they are found.
//
// Every image has a fixed number (Images::Type) and a file name "images:<Name>.png".
// The "images" search prefix looks in the display's resource folders first and falls
// back to the pictures compiled into the program, so a name resolves to the first
// folder that holds the file:
//   "/home/resources/icon/", "/home/resources/image/", "/home/resources/icon/tarin/",
//   ":/Images".

#include <QObject>
#include <QPixmap>
#include <QString>

class QWidget;

namespace Images {
Q_NAMESPACE

// Values 0..347 in the display's fixed order; the numbers are stored in data files and
// travel in signals, so the order never changes. File names containing "-" or "/" get
// enumerators with "_" instead; the three names that occur twice get a "2" on their
// second enumerator (the file name stays the same).
enum Type {
    Undefined = 0,
    SatPlotBackground,
    SatPlotForeground,
    SatPlotTrackedSat,
    SatPlotInViewSat,
    ListSpacer,
    Exit,
    Bullet,
    bullet_empty,
    bullet_green,
    Product, // 10
    ProductMix,
    BoundaryOutside,
    BoundaryInside,
    crosshairs,
    Cycle1,
    Notes,
    PausePoint,
    ResumePoint,
    Pause,
    Resume, // 20
    Summary,
    WarningSmall, // 22
    VehicleNoHeading,
    Setup,
    StandardAccept,
    StandardCancel,
    KeyboardIcon,
    KeypadIcon,
    CalendarIcon,
    TableIcon, // 30
    AddItem,
    RemoveItem,
    CycleMenu,
    CycleMenuPressed,
    CycleMenuDisabled,
    Increment,
    Decrement,
    ArrowUp,
    ArrowDown,
    ArrowLeft, // 40
    ArrowRight,
    ArrowWhiteUp,
    ArrowWhiteDown,
    ArrowWhiteLeft, // 44
    ArrowWhiteRight, // 45
    ArrowSmallLeft,
    ArrowSmallRight,
    ArrowWhiteLeft2, // 48
    ArrowWhiteRight2, // 49
    CloseWindow, // 50
    CloseWindowPressed,
    SystemButton,
    VideoBrightness,
    VideoContrast,
    VideoAdjust,
    MessageInfo,
    MessageWarning,
    MessageCritical,
    MessageWait,
    MessageQuestion, // 60
    TransparentSpacer,
    NumberEdit,
    TextEdit,
    CheckBoxOff,
    CheckBoxOn,
    CheckBoxPartial,
    KeyShift,
    KeyCapsLock,
    KeyTab,
    KeyEnter, // 70
    KeyBackspace,
    KeyClearAll,
    KeyUp,
    KeyDown,
    KeyLeft,
    KeyRight,
    UsbDriveMounted,
    UsbDriveMountedLocked,
    UsbDriveMountedUnLocked,
    UsbDriveUnmounted, // 80
    UsbDriveMountedImport,
    UsbDriveUnMountedImport,
    UsbDriveMountedExport,
    UsbDriveUnMountedExport,
    SetupMain,
    SetupMainLocked,
    SetupMainUnlocked,
    SetupOperation,
    SetupManagement,
    SetupGps, // 90
    SetupConsole,
    DateTime,
    VolumeBrightness,
    TouchCal,
    Date,
    Time,
    Volume,
    Brightness,
    PanUp,
    PanUpPressed, // 100
    PanDown,
    PanDownPressed,
    PanLeft,
    PanLeftPressed,
    PanRight,
    PanRightPressed,
    ZoomIn,
    ZoomInPressed,
    ZoomOut,
    ZoomOutPressed, // 110
    ZoomExtents,
    containerfill,
    containerempty,
    containeramount,
    alarmbutton_disabled,
    alarmbutton_enabled,
    rate1,
    rate2,
    raterx,
    rate_cropsensor, // 120
    rateman,
    rate_setup,
    rate_target,
    rate_actual,
    planter_drive_on,
    planter_drive_off,
    FenceRowLeftDisabled,
    FenceRowLeftOff,
    FenceRowLeftOn,
    FenceRowRightDisabled, // 130
    FenceRowRightOff,
    FenceRowRightOn,
    CycleInactive,
    CyclePressed,
    CycleSmallInactive,
    CycleSmallPressed,
    AreaLoggingOnActive,
    AreaLoggingOnInactive,
    AreaLoggingOff,
    FileLoad, // 140
    FileSave,
    steer_aquisition,
    steer_inactive,
    steer_auto,
    steer_manual,
    SteerWarning,
    guidance_cycle_inactive,
    guidance_cycle_disabled,
    guidance_cycle_pressed,
    guidance_seta_inactive, // 150
    guidance_seta_pressed,
    guidance_setb_disabled,
    guidance_setb_inactive,
    guidance_setb_pressed,
    guidance_smart_inactive,
    guidance_smart_disabled,
    guidance_smart_pressed,
    guidance_straight_inactive,
    guidance_straight_disabled,
    guidance_straight_pressed, // 160
    // 161 and 162: two guidance button images no program of this system draws.
    guidance_spare_inactive, // 161
    guidance_spare_pressed, // 162
    guidance_unselected_point,
    SetABNew,
    NudgeLeft,
    NudgeLeftDisabled,
    NudgeRight,
    NudgeRightDisabled,
    OffsetLeft,
    OffsetRight, // 170
    NudgeLargeLeft,
    NudgeLargeLeftDisabled,
    NudgeLargeRight,
    NudgeLargeRightDisabled,
    nudge_info_button,
    nudge_info_button_pressed,
    nudge_cycle,
    nudge_group_left,
    nudge_group_right,
    Heading, // 180
    PatternStraight,
    PatternSmart,
    PatternAdaptive,
    PatternIdentical,
    PatternPivot,
    SetAPoint,
    SetABDisabled,
    SetBPoint,
    boom_center_auto,
    boom_center_bottom, // 190
    boom_center_down,
    boom_center_manual,
    boom_center_topc,
    boom_center_topl,
    boom_center_topr,
    boom_center_up,
    boom_left_auto,
    boom_left_bottom,
    boom_left_down,
    boom_left_manual, // 200
    boom_left_up,
    boom_right_auto,
    boom_right_bottom,
    boom_right_down,
    boom_right_manual,
    boom_right_up,
    boom_roll_ccw,
    boom_roll_cw,
    channel1_off,
    channel1_on, // 210
    channel2_off,
    channel2_on,
    channel3_off,
    channel3_on,
    channel4_off,
    channel4_on,
    channel5_off,
    channel5_on,
    SpinnerOn,
    SpinnerOff, // 220
    FanBlowerOn,
    FanBlowerOff,
    FanFrame,
    FeedGate,
    CombineDiagnostic,
    CombineDiagnosticSmall,
    CalibrationMoisture,
    CalibrationWeight,
    ToolboxLegend,
    ToolboxMarks, // 230
    ToolboxBoundary,
    ToolboxGuidance,
    ToolboxTabActive,
    ToolboxTabInactive,
    ToolboxTabPressed,
    SwitchOff,
    SwitchOn,
    MasterSwitchOff,
    MasterSwitchOn,
    Link, // 240
    Unlink,
    Dt12Assigned,
    Dt12Unassigned,
    SwitchBox,
    SwitchAssigned,
    SwitchUnassigned,
    MasterSwitchAssigned,
    MasterSwitchUnassigned,
    SeedDouble,
    SeedSkip, // 250
    SeedSpacing,
    PauseButton,
    PauseButtonPressed,
    ResumeButton,
    ResumeButtonPressed,
    RowHigh,
    RowLow,
    ImagePlaceHolder,
    Boom,
    TrackAuto, // 260
    TrackManual,
    TrackLocked,
    TrackCrabRight,
    TrackCrabLeft,
    TrackStopped,
    Twin1Headwind,
    Twin2Tailwind,
    TwinManual,
    TwinSaved,
    DualLineOff, // 270
    DualLineLow,
    DualLineHigh,
    DualLineBoth,
    BoomLocked,
    BoomUnlocked,
    BoomHeadlandAssistOff,
    BoomHeadlandAssistOn,
    BoomRaiseMirror,
    BoomHeadlandAssistDelay,
    BoomHorizontal, // 280
    BoomLockedArrow,
    BoomUnlockedArrow,
    FoamMarkerOn,
    FoamMarkerOff,
    AlertEnvelope,
    AlertTriangle,
    AlertStopSign,
    MasterOnTarin,
    MasterOffTarin,
    FieldNotes_AirTemperature, // 290
    FieldNotes_AttributesConditions,
    FieldNotes_AttributesEquipment,
    FieldNotes_AttributesProduct,
    FieldNotes_CropGrowthStage,
    FieldNotes_CropResidue,
    FieldNotes_CropTarget,
    FieldNotes_Humidity,
    FieldNotes_Memo,
    FieldNotes_NotesSettings,
    FieldNotes_OperationTiming, // 300
    FieldNotes_PlacementDepth,
    FieldNotes_PlacementMethod,
    FieldNotes_PlantFertilizer,
    FieldNotes_PlantGearSet,
    FieldNotes_PlantInsecticide,
    FieldNotes_RestrictedCrop,
    FieldNotes_RestrictedEntry,
    FieldNotes_SeedGermination,
    FieldNotes_SeedPopulation,
    FieldNotes_SeedSize, // 310
    FieldNotes_SeedSpacing,
    FieldNotes_SkyCondition,
    FieldNotes_SoilCondition,
    FieldNotes_SoilMoisture,
    FieldNotes_SoilTemperature,
    FieldNotes_SprayBoomHeight,
    FieldNotes_SprayBoomPressure,
    FieldNotes_SprayNozzle,
    FieldNotes_SpreaderGate,
    FieldNotes_TargetPest, // 320
    FieldNotes_TillageType,
    FieldNotes_WindDirection,
    FieldNotes_WindSpeed,
    RecordWarning,
    RecordCritical,
    RecordNew,
    RecordModified,
    RecordResolved,
    TreeCheckBoxOn,
    TreeCheckBoxPartial, // 330
    TreeCheckBoxOff,
    DisplaySingle,
    DisplayMulti,
    Computer,
    DisplayFirst,
    DisplayAdditional,
    ConfigFullyUsable,
    WarningSmall2, // 338
    ConfigUnusable,
    ModuleOk, // 340
    ModuleWarning,
    ModuleNotFound,
    Locked,
    Unlocked,
    Enabled,
    TramlineLeft,
    TramlineRight,
};
Q_ENUM_NS(Type)

// Number of rows in the image table.
constexpr int kCount = 348;

// The table's file name for a type ("images:StandardAccept.png" for StandardAccept).
QString FileName(Type type);

} // namespace Images

// Registers the "images" search prefix with its four folders; only the first call does
// anything.
void InitImageSearchPaths();

// A picture by file name through the process's pixmap cache. A file that cannot be read
// gives an empty pixmap, which is cached too, so a missing image costs one look only.
QPixmap LoadPixmap(const QString &name);

// The picture of a named image. Callers pass enumerators only; the value is not checked.
QPixmap ImagePixmap(Images::Type type);

// Paints the widget's background with the picture (tiled, not scaled) in every colour
// group and turns on background filling.
void SetBackgroundPixmap(QWidget *widget, const QString &file);
void SetBackgroundImage(QWidget *widget, Images::Type type);
