#include "ui/frame/commandtable.h"

#include "filters/filterparam.h"
#include "frame/commands.h"

namespace ochrel {

namespace {

constexpr MenuRow kFixedRows[] = {
    {"&File", "&New\tCtrl+N", CM_NEW, false, false},
    {"&File", "&Open\tCtrl+0", CM_OPEN, false, false},
    {"&File", "&Save\tCtrl+S", CM_SAVE, true, false},
    {"&File", "Save &as...", CM_SAVEAS, true, false},
    {"&File", "&Close", CM_CLOSE, true, false},
    {"&File", nullptr, 0, false, false},
    {"&File", "Set&up", CM_SETUP, false, false},
    {"&File", "E&xit", CM_EXIT, false, false},

    {"&Edit", "&Undo\tCtrl+U (Alt+Backspace)", CM_UNDO, true, false},
    {"&Edit", "&Redo\tCtrl+Y", CM_REDO, true, false},
    {"&Edit", nullptr, 0, false, false},
    {"&Edit", "Cu&t\tCtrl+X (Shift+Del)", CM_CUT, true, false},
    {"&Edit", "&Copy\tCtrl+C (Ctrl+Ins)", CM_COPY, true, false},
    {"&Edit", "&Paste\tCtrl+V (Shift+Ins)", CM_PASTE, true, false},
    {"&Edit", "Paste as &new document", CM_PASTENEW, true, false},
    {"&Edit", "C&lear", CM_CLEAR, true, false},
    {"&Edit", "&Select All", CM_SELECTALL, true, false},
    {"&Edit", nullptr, 0, false, false},
    {"&Edit/&Hide", "Hide &tool bar", CM_HIDETOOLBAR, true, true},
    {"&Edit/&Hide", "Hide &settings", CM_HIDESETTINGS, true, true},
    {"&Edit", nullptr, 0, false, false},
    {"&Edit", "Copy t&o", CM_COPYTO, true, false},
    {"&Edit", "P&aste from", CM_PASTEFROM, true, false},
    {"&Edit", "&Grid active", CM_GRIDACTIVE, true, true},
    {"&Edit", "G&rid settings", CM_GRIDSETTINGS, true, false},
    {"&Edit", "Shado&ws", CM_SHADOWS, true, false},

    {"&Image", "&Attributes", CM_ATTRIBUTES, true, false},
    {"&Image/&Convert to", "&True color", CM_TOTRUECOLOUR, true, false},
    {"&Image/&Convert to", "&Greyscale", CM_TOGREY, true, false},
    {"&Image/&Convert to", "&Paletted", CM_TOPALETTE, true, false},
    {"&Image/&Convert to", "&Mono", CM_TOMONO, true, false},
    {"&Image/&Filters", "&Filters", CM_FILTERS, true, false},
    {"&Image/&Filters", nullptr, 0, false, false},
    // The seventeen filters go here.

    {"&Window", "&Cascade\tShift+F5", CM_CASCADE, true, false},
    {"&Window", "&Tile\tShift+F4", CM_TILE, true, false},
    {"&Window", "&Arrange Icons", CM_ARRANGE, true, false},
    {"&Window", nullptr, 0, false, false},
    {"&Window", "&Duplicate\tCtrl+D", CM_DUPLICATE, true, false},

    {"&Help", "&Contents", CM_HELP, false, false},
    {"&Help", nullptr, 0, false, false},
    {"&Help", "&About...", CM_ABOUT, false, false},
    {"&Help", "&System information", CM_SYSINFO, false, false},
    {"&Help", "&Tip of the day", CM_TIPOFTHEDAY, false, false},
    {"&Help", "&Manual", CM_MANUAL, false, false},
};

constexpr ShortcutRow kShortcuts[] = {
    {Qt::CTRL | Qt::Key_C, CM_COPY},
    {Qt::CTRL | Qt::Key_V, CM_PASTE},
    {Qt::CTRL | Qt::Key_X, CM_CUT},
    {Qt::CTRL | Qt::Key_N, CM_NEW},
    {Qt::CTRL | Qt::Key_O, CM_OPEN},
    {Qt::CTRL | Qt::Key_S, CM_SAVE},
    {Qt::CTRL | Qt::Key_P, CM_PRINT},
    {Qt::Key_Delete, CM_DELETE},
    {Qt::SHIFT | Qt::Key_Insert, CM_PASTE},
    {Qt::SHIFT | Qt::Key_Delete, CM_CUT},
    {Qt::CTRL | Qt::Key_Insert, CM_COPY},
    {Qt::ALT | Qt::Key_Backspace, CM_UNDO},
    // What the menus print, and Ctrl+Z, which people expect of Undo.
    {Qt::CTRL | Qt::Key_U, CM_UNDO},
    {Qt::CTRL | Qt::Key_Z, CM_UNDO},
    {Qt::CTRL | Qt::Key_0, CM_OPEN},
    {Qt::SHIFT | Qt::Key_F5, CM_CASCADE},
    {Qt::SHIFT | Qt::Key_F4, CM_TILE},
    {Qt::CTRL | Qt::Key_D, CM_DUPLICATE},
    {Qt::CTRL | Qt::Key_Y, CM_REDO},
    {Qt::CTRL | Qt::SHIFT | Qt::Key_Z, CM_REDO},
};

}  // namespace

const std::vector<MenuRow>& MenuRows() {
  static const std::vector<MenuRow> rows = [] {
    std::vector<MenuRow> all;
    for (const MenuRow& row : kFixedRows) {
      all.push_back(row);
      if (row.id == 0 && std::string_view(row.menu) == "&Image/&Filters")
        for (int f = 0; f < FILTER_COUNT; ++f)
          all.push_back({"&Image/&Filters", filtertype[f].name, FILTER_MENU_FIRST + f, true, false});
    }
    return all;
  }();
  return rows;
}

std::span<const ShortcutRow> ShortcutRows() { return kShortcuts; }

}  // namespace ochrel
