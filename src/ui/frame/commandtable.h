// The frame's commands as data: every menu item and every shortcut is a row
// here, and the frame builds its menus and accelerators from the rows.
#pragma once

#include <QKeySequence>

#include <span>
#include <vector>

namespace ochrel {

struct MenuRow {
  const char* menu;  // the menu's path from the bar: "&Edit/&Hide"
  const char* text;  // null for a separator
  int id;
  bool grey;  // greyed until the first menu-state update
  bool checkable;
};

// The menus in the order they show; the filter rows follow the filter table.
const std::vector<MenuRow>& MenuRows();

struct ShortcutRow {
  QKeyCombination keys;
  int id;
};

std::span<const ShortcutRow> ShortcutRows();

}  // namespace ochrel
