// What document windows and dialogs may ask of the frame. They talk upward
// only through this interface, which the frame implements, so nothing below
// the frame needs to know the frame window.
#pragma once

#include <string>

#include "image/dib.h"

class QString;
class QWidget;

namespace ochrel {

class FrameServices {
 public:
  virtual ~FrameServices() = default;

  // The message part of the status bar.
  virtual void StatusText(const QString& text) = 0;
  // Grey states of menus and buttons, after the active document changed.
  virtual void UpdateMenuStates() = 0;
  // The colour swatches, after a document's colours or fill changed.
  virtual void RefreshStatus() = 0;
  // A command, run once the present handler has returned.
  virtual void PostCommand(int id) = 0;
  // The toolbox's tool change, on the active document.
  virtual void ChooseTool(int tool) = 0;
  // A document's scale or grid state changed; the frame's controls follow it.
  virtual void ViewStateChanged(int viewMode, bool gridActive) = 0;
  // A new document holding a copy of the image; false when none could be made.
  virtual bool OpenAsNewDocument(const HDIB& image) = 0;
  // A file written under `path` enters the recent list.
  virtual void AddRecentPath(const std::string& path) = 0;
  // The save and open dialogs (tests may answer them) and the writer.
  virtual bool AskSavePath(QWidget* parent, const std::string& start, std::string* path) = 0;
  virtual bool AskOpenPath(QWidget* parent, std::string* path) = 0;
  virtual bool WriteDocument(QWidget* parent, const HDIB& image, const std::string& path) = 0;
};

// The frame of this process, for dialogs that are opened with no document
// at hand; null while there is none.
FrameServices* ActiveFrameServices();
void SetActiveFrameServices(FrameServices* services);

}  // namespace ochrel
