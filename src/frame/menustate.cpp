#include "frame/menustate.h"

#include "frame/blockset.h"
#include "frame/commands.h"
#include "filters/filterparam.h"
#include "tools/pastetools.h"
#include "tools/selection.h"

namespace ochrel {

std::map<int, bool> ComputeMenuStates(const BLOCKSET* d) {
  const bool image = d && d->Image;
  const int t = image ? GetImageType(d->Image) : IMAGE_NONE;
  std::map<int, bool> s;
  for (int c :
       {CM_SAVE, CM_SAVEAS, CM_CLOSE, CM_SELECTALL, CM_ATTRIBUTES, CM_CASCADE, CM_TILE, CM_ARRANGE, CM_DUPLICATE,
        CM_HIDETOOLBAR, CM_HIDESETTINGS, CM_PASTEFROM, CM_GRIDACTIVE, CM_GRIDSETTINGS, CM_SHADOWS})
    s[c] = image;
  s[CM_TOTRUECOLOUR] = image && t != IMAGE_TRUECOLOUR;
  s[CM_TOGREY] = image && t != IMAGE_GREY;
  s[CM_TOPALETTE] = image && t != IMAGE_PALETTED;
  s[CM_TOMONO] = image && t != IMAGE_MONO;
  s[CM_UNDO] = d && d->UndoAvailable;
  s[CM_REDO] = d && d->RedoAvailable;
  // Copy to and Clear work on a floating selection; Cut and Copy also on an open text box.
  const bool selection = image && HasSelection(d);
  for (int c : {CM_COPYTO, CM_CLEAR}) s[c] = selection;
  for (int c : {CM_CUT, CM_COPY}) s[c] = image && CanCopy(d);
  // The filters that apply to this image, or to its selection.
  bool mask = false;
  const bool masked = image && HasSelection(d, &mask);
  s[CM_FILTERS] = image;
  for (int f = 0; f < FILTER_COUNT; ++f) s[FILTER_MENU_FIRST + f] = image && FilterIsValidFilter(t, masked, mask, f);
  return s;
}

}  // namespace ochrel
