#include "tools/pastetools.h"

#include "image/resample.h"
#include "tools/selecttools.h"
#include "tools/texttool.h"

namespace ochrel {

HDIB SelectionImage(const BLOCKSET* record) {
  if (!HasSelection(record)) return nullptr;
  const TOOLPARAM& p = record->ToolWindow->param;
  if (p.Tool != TOOL_RECTSELECT && p.SelectMask) return MaskBitmap(p.Fragment, p.SelectMask, record->PaperColour);
  return DuplicateObject(p.Fragment);
}

std::string SelectionText(const BLOCKSET* record) {
  if (!record || !record->ToolWindow || record->ToolWindow->param.Tool != TOOL_TEXT) return {};
  const auto* text = dynamic_cast<const TextTool*>(record->ToolWindow);
  return text ? text->Text() : std::string();
}

bool CanCopy(const BLOCKSET* record) {
  return HasSelection(record) || (record && record->ToolWindow && record->ToolWindow->param.Tool == TOOL_TEXT);
}

int DoPaste(DocumentTools* document, const HDIB& dib) {
  if (!document || !LockDib(dib)) return 0;
  HDIB copy = DuplicateObject(dib);
  if (!copy) return 0;
  document->Unselect();
  // A tool that stands over the image makes way (the commands choose tool 0 first).
  if (document->session()) document->DestroyToolParam();
  if (!document->BeginToolFunction(0, 0, TOOL_RECTSELECT, TF_PASTED)) return 0;
  auto* selector = dynamic_cast<SelectorTool*>(document->session());
  if (!selector) {
    document->DestroyToolParam();
    return 0;
  }
  selector->Float(std::move(copy));
  return 1;
}

int DoPasteText(DocumentTools* document, const std::string& text) {
  if (!document) return 0;
  document->Unselect();
  if (document->session()) document->DestroyToolParam();
  if (!document->BeginToolFunction(0, 0, TOOL_TEXT, TF_PASTED)) return 0;
  auto* tool = dynamic_cast<TextTool*>(document->session());
  if (!tool) {
    document->DestroyToolParam();
    return 0;
  }
  SelectTool(document, TOOL_TEXT);
  document->Post(RECV_TOOLBOX, UM_SELECTTOOL, TOOL_TEXT);
  document->Post(RECV_SETTINGS, UM_REFRESH, 0, TOOL_TEXT);
  tool->SetText(text);
  // The press that made the box ends here, as after a drag; the caret stands at the end.
  document->Post(RECV_TOOL, WM_LBUTTONUP, 0, 0);
  tool->param.OriginX = tool->param.OriginY = 0;
  return 1;
}

}  // namespace ochrel
