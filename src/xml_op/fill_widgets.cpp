#include "xml_op/fill_widgets.h"

#include <cstdlib>
#include <cstring>
#include <ctime>
#include <optional>
#include <string>
#include <string_view>

#include "base/diagnostics.h"
#include "base/log.h"
#include "base/translated_text.h"
#include "link_engine/message_names.h"
#include "util/ansi_unicode_hex.h"
#include "util/time_and_size.h"
#include "window/drive_box.h"
#include "xml_op/field_text.h"

namespace {

using relay_hub::FieldText;

// A time field with this number has no date to show.
constexpr unsigned long long kNoDate = 34;

struct NamedIcon {
    std::string_view drive_type;
    const char* icon;
};
constexpr NamedIcon kDriveIcons[] = {
    {"2", "gtk-floppy"}, {"3", "gtk-harddisk"}, {"5", "gtk-cdrom"}, {"6", "gtk-harddisk"}};
constexpr char kOtherDriveIcon[] = "gtk-info";

std::string_view name_of(const xmlNode* node) {
    return node->name == nullptr ? std::string_view() : reinterpret_cast<const char*>(node->name);
}

const char* drive_icon(std::string_view drive_type) {
    for (const NamedIcon& known : kDriveIcons) {
        if (known.drive_type == drive_type)
            return known.icon;
    }
    return kOtherDriveIcon;
}

class DateText {
  public:
    // Null when the field shows no date.
    const char* set(const char* time_value) {
        const unsigned long long value = std::strtoull(time_value, nullptr, 10);
        if (*time_value == '\0' || value == kNoDate)
            return nullptr;
        const std::time_t seconds = convert_to_timet_for_link_engine(value);
        std::tm parts{};
        if (localtime_r(&seconds, &parts) == nullptr)
            return nullptr;
        return std::strftime(text_, sizeof text_, "%Y-%m-%d %T", &parts) == 0 ? nullptr : text_;
    }

  private:
    char text_[64] = "";
};

// The texts of one row, in column order, as long as the record lives.
class FileRow {
  public:
    explicit FileRow(const xmlNode* record) {
        for (const xmlNode* field = record->children; field != nullptr; field = field->next) {
            if (field->type == XML_ELEMENT_NODE)
                take(name_of(field), field);
        }
    }
    const char* const* texts() const { return texts_; }

  private:
    void take(std::string_view tag, const xmlNode* field) {
        if (tag == wire::kDisplayName)
            keep(kColumnName, field);
        else if (tag == wire::kEntrySize)
            keep(kColumnSizeValue, field);
        else if (tag == wire::kEntrySizeText)
            keep(kColumnSize, field);
        else if (tag == wire::kEntryCreated)
            keep(kColumnCreatedValue, field);
        else if (tag == wire::kEntryAccessed)
            texts_[kColumnAccessed] = accessed_.set(keep(kColumnAccessedValue, field));
        else if (tag == wire::kEntryModified)
            texts_[kColumnModified] = modified_.set(keep(kColumnModifiedValue, field));
        else if (tag == wire::kEntryKind)
            set_kind(keep(kColumnKind, field));
    }
    const char* keep(ListColumn column, const xmlNode* field) {
        fields_[column].emplace(field);
        return texts_[column] = fields_[column]->get();
    }
    void set_kind(const char* kind) {
        const bool is_file = std::strcmp(kind, kKindFile) == 0;
        texts_[kColumnIcon] = is_file ? "gtk-file" : "gtk-directory";
        texts_[kColumnType] = relay_hub::translated(is_file ? "IDS_FH_FILE" : "IDS_FH_FOLDER");
    }

    const char* texts_[kColumnCount] = {};
    std::optional<FieldText> fields_[kColumnCount];
    DateText accessed_;
    DateText modified_;
};

void add_special_path(const xmlNode* field, const char* log_word, GtkWidget* drive_combo) {
    relay_hub::log_event("%s", log_word);
    const std::string path = relay_hub::text_from_unicode_hex(FieldText(field).get());
    if (path.empty())
        return;
    relay_hub::log_event("real_path --> %s", path.c_str());
    const std::size_t slash = path.rfind('/');
    const std::size_t separator = slash != std::string::npos ? slash : path.rfind('\\');
    if (separator == std::string::npos)
        return;
    const std::string label = path.substr(separator + 1);
    relay_hub::log_event("partation_name --> %s", label.c_str());
    append_combobox_item(drive_combo, "gtk-directory", label.c_str(), path.c_str());
}

constexpr std::size_t kBlockSize = 65536;
// Before each text of a row: whether the column has one.
constexpr char kNoText = 0;
constexpr char kText = 1;

// The folder itself and the one above: the list has its own row for the latter.
bool is_dot_name(std::string_view name) {
    return name == "." || name == "..";
}

// Returns where the next row begins.
const char* read_row(const char* at, std::array<const char*, kColumnCount>& texts) {
    for (const char*& text : texts) {
        const bool present = *at++ == kText;
        text = present ? at : nullptr;
        at += present ? std::strlen(at) + 1 : 0;
    }
    return at;
}

}  // namespace

int fill_to_widget_NP_VAL_CMD_GET_DRIVER_LIST(xmlNode* node, __single* side) {
    if (name_of(node) != wire::kRecord)
        return 0;
    const char* icon = "";
    std::string name;
    std::string path;
    for (const xmlNode* field = node->children; field != nullptr; field = field->next) {
        const std::string_view tag = name_of(field);
        if (tag == wire::kDriveType)
            icon = drive_icon(FieldText(field).get());
        else if (tag == wire::kDisplayName)
            path = name = FieldText(field).get();
        else if (tag == wire::kNameHex)
            path = relay_hub::text_from_unicode_hex(FieldText(field).get());
    }
    if (!name.empty() && !path.empty())
        append_combobox_item(side->drive_combo, icon, name.c_str(), path.c_str());
    return 0;
}

int fill_to_widget_NP_VAL_CMD_GET_FILE_LIST(xmlNode* node, __single* side) {
    if (name_of(node) == wire::kRecord) {
        relay_hub::RecordRows rows;
        relay_hub::keep_file_row(node, rows);
        relay_hub::RowFiller filler(side->tree_view, rows.size());
        rows.move_to(filler);
    }
    return 0;
}

int fill_to_widget_NP_VAL_CMD_GET_REMOTE_SPECIAL_PATH(xmlNode* node, __single* side) {
    for (const xmlNode* field = node; field != nullptr; field = field->next) {
        if (name_of(field) == wire::kDocumentsFolder)
            add_special_path(field, "NP_TAG_REMOTE_MYDOCUMENT_PATH_UNICODE", side->drive_combo);
        else if (name_of(field) == wire::kDesktopFolder)
            add_special_path(field, "NP_TAG_REMOTE_DESKTOP_PATH_UNICODE", side->drive_combo);
    }
    return 0;
}

int get_xml_detial(xmlNode* node, void* context) {
    const auto* walk = static_cast<const walk_context*>(context);
    const std::string_view command = walk->command;
    if (command == wire::kGetDriverList)
        fill_to_widget_NP_VAL_CMD_GET_DRIVER_LIST(node, walk->side);
    else if (command == wire::kGetFileList && walk->rows != nullptr)
        relay_hub::keep_file_row(node, *walk->rows);
    else if (command == wire::kGetFileList)
        fill_to_widget_NP_VAL_CMD_GET_FILE_LIST(node, walk->side);
    else if (command == wire::kGetRemoteSpecialPath)
        fill_to_widget_NP_VAL_CMD_GET_REMOTE_SPECIAL_PATH(node, walk->side);
    return 0;
}

namespace relay_hub {

void keep_file_row(const xmlNode* record, RecordRows& rows) {
    rows.append(FileRow(record).texts());
}

void RecordRows::append(const char* const* texts) {
    if (blocks_.empty() || blocks_.back().size() >= kBlockSize)
        blocks_.emplace_back().reserve(kBlockSize + kBlockSize / 4);
    std::string& block = blocks_.back();
    for (int column = 0; column < kColumnCount; ++column) {
        block += texts[column] == nullptr ? kNoText : kText;
        if (texts[column] != nullptr)
            block.append(texts[column], std::strlen(texts[column]) + 1);
    }
    ++size_;
}

void RecordRows::move_to(RowFiller& filler) {
    std::array<const char*, kColumnCount> texts{};
    for (bool go_on = true; go_on && !blocks_.empty(); blocks_.pop_front()) {
        const std::string& block = blocks_.front();
        const char* at = block.data();
        while (go_on && at < block.data() + block.size()) {
            at = read_row(at, texts);
            const char* const name = texts[kColumnName] == nullptr ? "" : texts[kColumnName];
            if (is_dot_name(name))
                report(RELAY_HUB_HERE, "entry left out, its name is no name: ", name);
            else
                go_on = filler.add(texts.data());
        }
    }
    blocks_.clear();
    size_ = 0;
}

}  // namespace relay_hub
