// Command numbers: menus, accelerators, the button bar and the status bar all
// send these to the frame.
#pragma once

namespace ochrel {

enum Command : int {
  CM_UNDO = 50,
  CM_GRIDACTIVE = 51,
  CM_HELP = 52,
  CM_SHADOWS = 53,
  CM_SETUP = 54,
  CM_EXIT = 55,
  CM_SAVE = 57,
  CM_OPEN = 58,
  CM_REDO = 59,    // steps forward again through the undo history
  CM_DELETE = 61,  // Del: no action
  CM_MANUAL = 62,
  CM_NEW = 101,
  CM_SAVEAS = 104,
  CM_CLOSE = 106,
  CM_PRINT = 107,  // Ctrl+P: no action
  CM_PASTENEW = 110,
  CM_CREATETILE = 111,  // the selection's menu: the fragment becomes the tile fill
  CM_ADDTILE = 112,     // the same, and the tile joins the current library
  CM_TIPOFTHEDAY = 136,
  CM_RECENT = 180,
  CM_CUT = 201,
  CM_COPY = 202,
  CM_PASTE = 203,
  CM_SELECTALL = 205,
  CM_CLEAR = 206,
  CM_HIDETOOLBAR = 207,
  CM_HIDESETTINGS = 208,
  CM_COPYTO = 209,
  CM_PASTEFROM = 210,
  CM_GRIDSETTINGS = 212,
  CM_ATTRIBUTES = 301,
  CM_TOTRUECOLOUR = 302,
  CM_TOGREY = 303,
  CM_TOPALETTE = 304,
  CM_TOMONO = 305,
  CM_ZOOMLIST = 701,
  CM_CASCADE = 801,
  CM_TILE = 802,
  CM_ARRANGE = 803,
  CM_DUPLICATE = 804,
  CM_ABOUT = 902,
  CM_SYSINFO = 903,
  CM_FILTERS = 2048,  // "&Filters": the dialog with the remembered filter; the filters follow
  // Status bar swatches.
  CM_PAINTSWATCH = 501,
  CM_FILLSWATCH = 502,
  CM_PAPERSWATCH = 503,
  CM_STATUSTEXT = 504,
};

// Private messages of the frame.
enum FrameMessage : int {
  UM_FOCUSDOCUMENT = 1126,
  UM_FRAMEMOVED = 1139,
  UM_NEWFROMDIB = 1234,
};

}  // namespace ochrel
