#pragma once
// Every name that stands on the wire, shared by the builders, readers and servers of messages.
// Spelling is the protocol's own, odd ones included.
#include "xml_doc/message_writer.h"

namespace wire {

// Commands from the front end to the engine.
inline constexpr char kGetFileList[] = "NP_Cmd_Get_File_List";
inline constexpr char kGetDriverList[] = "NP_Cmd_Get_Driver_List";
inline constexpr char kGetRemoteSpecialPath[] = "NP_Cmd_Get_Remote_Special_Path";
inline constexpr char kRename[] = "NP_Cmd_Rename";
inline constexpr char kDeleteFile[] = "NP_Cmd_Delete_File";
inline constexpr char kDeleteFolder[] = "NP_Cmd_Delete_Folder";
inline constexpr char kMoveFileToTrash[] = "NP_Cmd_Move_File_To_Trash";
inline constexpr char kCreateFolder[] = "NP_Cmd_Create_Folder";
inline constexpr char kRemoteToLocal[] = "NP_Cmd_Remote_to_Local";
inline constexpr char kLocalToRemote[] = "NP_Cmd_Local_To_Remote";
inline constexpr char kCheckConnectionStatus[] = "NP_Cmd_Check_Connection_Status";
inline constexpr char kCheckRemoteOnline[] = "NP_Cmd_Check_Remote_Online";
inline constexpr char kCheckForHeartbeat[] = "NP_Cmd_Check_For_Heartbeat";
inline constexpr char kExitLinkEngine[] = "NP_Cmd_Exit_Link_Engine";

// Call-backs from the engine to the front end.
inline constexpr char kGetConfirmationForCopy[] = "NP_Cmd_Get_Confirmation_For_Copy";
inline constexpr char kCheckForUserClickCancel[] = "NP_Cmd_Check_For_User_Click_Cancel";
inline constexpr char kCopyProgressStatusNotify[] = "NP_Cmd_Copy_Progress_Status_Notify";
inline constexpr char kShowMessageBox[] = "NP_Cmd_Show_Message_Box";
inline constexpr char kHandleRemoteRequest[] = "NP_Cmd_Handle_Remote_Request";
inline constexpr char kRemoteIsOffline[] = "NP_Cmd_Remote_Is_Offline";

// Envelope and results.
inline constexpr char kCommand[] = "NP_Cmd";
inline constexpr char kSuccess[] = "NP_Exe_Result_Success";
inline constexpr char kFail[] = "NP_Exe_Result_Fail";
inline constexpr char kResult[] = "T1";
inline constexpr char kReason[] = "T2";
inline constexpr char kYes[] = "Y";
inline constexpr char kNo[] = "N";

// Fields.
inline constexpr char kPath[] = "TG";
inline constexpr char kPathHex[] = "TF";
inline constexpr char kOldPathHex[] = "TJ";
inline constexpr char kNewPathHex[] = "TK";
inline constexpr char kItems[] = "T8";
inline constexpr char kRemotePath[] = "TA";
inline constexpr char kRemotePathHex[] = "TC";
inline constexpr char kLocalPath[] = "T9";
inline constexpr char kLocalPathHex[] = "TB";
inline constexpr char kAttributes[] = "TL";
inline constexpr char kMove[] = "NP_Copy_Is_Move";
inline constexpr char kMoveArrived[] = "NP_Move_Arrived";
inline constexpr char kDisplayName[] = "TA";
inline constexpr char kNameHex[] = "TF";
inline constexpr char kDriveType[] = "TD";
inline constexpr char kFreeSpace[] = "NP_Free_Space";
inline constexpr char kEntryKind[] = "TH";
inline constexpr char kEntrySize[] = "TY";
inline constexpr char kEntrySizeText[] = "TZ2";
inline constexpr char kEntryModified[] = "TU";
inline constexpr char kEntryAccessed[] = "TR";
inline constexpr char kEntryCreated[] = "TO";
inline constexpr char kDesktopFolder[] = "TK1";
inline constexpr char kDocumentsFolder[] = "TK2";

// The attribute document of a copy record.
inline constexpr char kAttributeWord[] = "TN";
inline constexpr char kSizeHigh[] = "TZ";
inline constexpr char kSizeLow[] = "TZ1";
inline constexpr char kCreatedHigh[] = "TP";
inline constexpr char kCreatedLow[] = "TQ";
inline constexpr char kAccessedHigh[] = "TS";
inline constexpr char kAccessedLow[] = "TT";
inline constexpr char kModifiedHigh[] = "TV";
inline constexpr char kModifiedLow[] = "TW";

// Status answers.
inline constexpr char kServerIsLive[] = "NP_Server_Is_Live";
inline constexpr char kLocalDeviceOn[] = "NP_Connection_Local_Device_On";
inline constexpr char kDeviceOn[] = "NP_Connection_Device_On";
inline constexpr char kApplicationOn[] = "NP_Connection_Application_On";
inline constexpr char kRemoteIsOnline[] = "NP_Cmd_Remote_Is_Online";

// Call-back fields.
inline constexpr char kConfirmationMessage[] = "NP_Copy_Confirmation_Message";
inline constexpr char kConfirmationYes[] = "NP_Copy_Confirmation_Yes";
inline constexpr char kConfirmationNo[] = "NP_Copy_Confirmation_No";
inline constexpr char kConfirmationNoToAll[] = "NP_Copy_Confirmation_No_To_All";  // beside "No"
inline constexpr char kConfirmationReplaceAll[] = "NP_Copy_Confirmation_Replace_All";
inline constexpr char kConfirmationCancel[] = "NP_Copy_Confirmation_Cancel";
inline constexpr char kUserClickCancel[] = "NP_User_Click_Cancel";
inline constexpr char kProgressInfo[] = "NP_Copy_Process_Progress_Info";
inline constexpr char kProgressElapsedTime[] = "NP_Copy_Process_Elasp_Time";
inline constexpr char kProgressTotal[] = "NP_Copy_Process_Progress_Bar_Total";
inline constexpr char kProgressCurrent[] = "NP_Copy_Process_Progress_Bar_Current";
inline constexpr char kMessageBoxContent[] = "NP_Message_Box_Content";

}  // namespace wire
