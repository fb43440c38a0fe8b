#pragma once
// The columns of the list's model.

// Model columns of the list store, all texts.
enum ListColumn {
    kColumnIcon = 0,
    kColumnName,
    kColumnSize,
    kColumnType,
    kColumnModified,
    kColumnAccessed,
    kColumnSizeValue,
    kColumnKind,  // kKindFolder, kKindFile or kKindParent
    kColumnModifiedValue,
    kColumnAccessedValue,
    kColumnCreatedValue,
    kColumnCount
};
inline constexpr char kKindFolder[] = "1";
inline constexpr char kKindFile[] = "0";
inline constexpr char kKindParent[] = "R";

// A text column holds at most kCellCharacters of a name, as shown_line has it: a row whose name reads
// otherwise keeps the true bytes beside it. get_selected_to_glist and row_name give the true bytes.
