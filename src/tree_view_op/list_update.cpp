#include "tree_view_op/list_update.h"

#include <algorithm>
#include <array>
#include <utility>

#include "tree_view_op/file_list_view.h"

namespace relay_hub {
namespace {

constexpr gint64 kSlice = 8 * G_TIME_SPAN_MILLISECOND;
constexpr int kStepsBetweenLooks = 32;
// What may change while an entry keeps its name and its place among folders or files.
constexpr std::array<int, 3> kChanging = {kColumnSize, kColumnModified, kColumnAccessed};

RowTexts texts_of(const LocalRow* row) {
    return row != nullptr ? row->texts() : parent_row();
}

bool folders_come_first(GtkSortType order) {
    LocalRow folder;
    folder.is_folder = true;
    const int compared = collate_icons(folder.texts()[kColumnIcon], LocalRow().texts()[kColumnIcon]);
    return order == GTK_SORT_ASCENDING ? compared < 0 : compared > 0;
}

void update_row(GtkListStore* store, GtkTreeIter* iter, const LocalRow& row) {
    const RowTexts texts = row.texts();
    for (const int column : kChanging) {
        const char* const text = texts.at(static_cast<std::size_t>(column));
        if (row_text(GTK_TREE_MODEL(store), iter, column) != text)
            gtk_list_store_set(store, iter, column, text, -1);
    }
}

}  // namespace

ListView list_view_of(GtkWidget* tree_view, const std::string& folder) {
    GtkListStore* store = list_store_of(tree_view);
    return {folder, hidden_files_are_shown(tree_view), store != nullptr ? sort_of(store) : SortState()};
}

std::shared_ptr<ListNow> ListNow::read(const ListView& view) {
    auto now = std::make_shared<ListNow>();
    now->reading_.read(view.folder, view.with_hidden, [](std::size_t) {});
    if (now->reading_.folder->error_number() != 0)
        return nullptr;
    now->put_in_order(view);
    return now;
}

void ListNow::put_in_order(const ListView& view) {
    if (view.folder != "/")
        rows_.push_back(nullptr);
    for (const std::vector<LocalRow>& block : reading_.blocks)
        for (const LocalRow& row : block) {
            if (row.vanished)
                continue;
            rows_.push_back(&row);
            if (!row.is_folder)
                sizes_.add(row.name, row.size);
        }
    if (view.sort.column == kColumnIcon) {
        const bool folders_first = folders_come_first(view.sort.order);
        std::stable_partition(rows_.begin(), rows_.end(), [=](const LocalRow* row) {
            return (row == nullptr || row->is_folder) == folders_first;
        });
    }
    for (std::size_t place = 0; place < rows_.size(); ++place)
        places_.emplace(texts_of(rows_[place])[kColumnName], place);
}

ListUpdate::ListUpdate(GtkWidget* tree_view, std::shared_ptr<ListNow> now)
    : tree_view_(tree_view),
      store_(GTK_LIST_STORE(g_object_ref(list_store_of(tree_view)))),
      now_(std::move(now)),
      sort_(sort_of(store_.get())) {
    set_free_space(tree_view, now_->reading_.free_bytes);
    std::move(now_->sizes_).give_to(tree_view);
    more_ = gtk_tree_model_get_iter_first(GTK_TREE_MODEL(store_.get()), &iter_) != FALSE;
    g_signal_connect(store_.get(), "row-deleted", G_CALLBACK(on_row), this);
    g_signal_connect(store_.get(), "row-inserted", G_CALLBACK(on_new_row), this);
}

ListUpdate::~ListUpdate() {
    count_rows_again(tree_view_);
    g_signal_handlers_disconnect_by_data(store_.get(), this);
}

void ListUpdate::on_row(GtkTreeModel*, GtkTreePath*, gpointer self) {
    auto* update = static_cast<ListUpdate*>(self);
    update->outdated_ = update->outdated_ || !update->own_change_;
}

void ListUpdate::on_new_row(GtkTreeModel* model, GtkTreePath* path, GtkTreeIter*, gpointer self) {
    on_row(model, path, self);
}

ListUpdate::Result ListUpdate::go_on() {
    if (outdated_ || list_store_of(tree_view_) != store_.get() || sort_of(store_.get()) != sort_)
        return Result::kOutdated;
    const RowsInPlace in_place(store_.get());
    const gint64 end = g_get_monotonic_time() + kSlice;
    own_change_ = true;
    for (int steps = 1; !is_done() && (steps % kStepsBetweenLooks != 0 || g_get_monotonic_time() < end);
         ++steps)
        step();
    own_change_ = false;
    return is_done() ? Result::kDone : Result::kMore;
}

// Puts one row before the row looked at, or brings the row looked at up to date, or removes it.
void ListUpdate::step() {
    if (!more_) {
        insert_row(store_.get(), -1, texts_of(now_->rows_[next_++]).data());
        return;
    }
    GtkTreeModel* model = GTK_TREE_MODEL(store_.get());
    const auto place = now_->places_.find(row_name(model, &iter_));
    // A folder that has become a file stands elsewhere now.
    if (place == now_->places_.end() || place->second < next_ ||
        row_text(model, &iter_, kColumnKind) != texts_of(now_->rows_[place->second])[kColumnKind]) {
        more_ = gtk_list_store_remove(store_.get(), &iter_) != FALSE;
        return;
    }
    const LocalRow* row = now_->rows_[next_];
    if (place->second == next_) {
        if (row != nullptr)
            update_row(store_.get(), &iter_, *row);
        more_ = gtk_tree_model_iter_next(model, &iter_) != FALSE;
    } else {
        insert_row(store_.get(), position_, texts_of(row).data());
    }
    ++position_;
    ++next_;
}

}  // namespace relay_hub
