#include "platform/messages/messages.h"

#include <algorithm>

namespace kest {
namespace {

// Sorted by number. Texts that are joined with others end without a blank; the pieces of the agreement end with their
// line feed, because they are put together as they stand.
constexpr MessageText kMessages[] = {
    {4000, "", "Object"},
    {4001, "", "Template"},
    {4002, "", "Command"},
    {4003, "", "Behavior"},
    {4004, "", "JavaScript Extension"},
    {4005, "", "Encoding"},
    {4006, "", "Dictionary"},
    {4007, "", "Browser Profile"},
    {4008, "", "Translator"},
    {4009, "", "Floating Panel"},
    {4010, "", "Property Inspector"},
    {4011, "", "Query"},
    {4012, "", "Third-Party Tags"},
    {4013, "", "Plug-in"},
    {4014, "", "Suite"},
    {4015, "", "Extension"},
    {4016, "s", "Please read this agreement before \"%s\" is installed."},
    {4017, "sss",
     "\"%1$s\" and the installed extension \"%2$s\" use the same description file name, so only one of them can be "
     "enabled. "},
    {4018, "sss", "Disable \"%2$s\" (%3$s) and install \"%1$s\"?"},
    {4019, "s", "A newer version of \"%s\" is installed. Replace it with this older one?"},
    {4020, "s", "An older version of \"%s\" is installed. Replace it with this newer one?"},
    {4021, "s", "This version of \"%s\" is installed already. Install it again?"},
    {4022, "s", "The file exists, and is newer than the one in the package:\r\n%s\r\nOverwrite it?"},
    {4023, "sss", "%2$s is using a file that has to be changed:\r\n%1$s\r\nClose %3$s, then try again."},
    {4024, "s", "A file that the extension needs does not exist: %s."},
    {4025, "", "The extension was installed."},
    {4026, "s", "The extension was installed. Restart %s to use it."},
    {4027, "s", "The folder could not be created: %s."},
    {4028, "ss", "The description could not be copied from %1$s to %2$s."},
    {4029, "", "A menu or shortcut could not be placed: the configuration file lacks the place that it names."},
    {4030, "s", "The file does not exist: %s."},
    {4031, "", "The description could not be read."},
    {4032, "", "The description does not name its extension."},
    {4034, "ss", "\"%1$s\" was removed. Restart %2$s to finish."},
    {4035, "s", "\"%s\" was removed."},
    {4036, "s", "The package file could not be created: %s."},
    {4038, "s", "The destination of this file does not begin with a folder token: %s."},
    {4039, "", "No package was made."},
    {4040, "s", "The file exists, and is older than the one in the package:\r\n%s\r\nOverwrite it?"},
    {4041, "", "The package is damaged or holds something that is not allowed."},
    {4043, "", "The extension was not installed."},
    {4045, "", "AGREEMENT FOR THE USE OF EXTENSIONS\n\n"},
    {4046, "", "1. What this is about. An extension adds to an application that you have on this computer. It was\n"},
    {4047, "", "made by the author whom its description names, who may not be the maker of the application.\n\n"},
    {4048, "", "2. What the extension may do. It brings files, and it may change the menus, shortcuts, toolbars,\n"},
    {4049, "", "lists and other settings of the application. Scripts in it run with the rights that you have.\n"},
    {4050, "", "Install only what comes from someone you trust.\n\n"},
    {4051, "", "3. Your licence. The author keeps all rights that are not given to you. Where the extension carries\n"},
    {4052, "", "terms of its own, those hold beside this agreement, and before it where the two differ.\n\n"},
    {4053, "", "4. Copies. Unless the author's terms say otherwise you may keep one copy of the package as a\n"},
    {4054, "", "reserve, and you may not hand the extension on to others, for money or for nothing.\n\n"},
    {4055, "", "5. No warranty. The extension is given as it is. Neither its author nor the maker of the\n"},
    {4056, "", "application promises that it is free of faults, or fit for the use that you have in mind.\n\n"},
    {4057, "", "6. No liability. As far as the law allows, nobody but you answers for damage that comes of using\n"},
    {4058, "", "the extension, lost data included. Keep copies of what you cannot lose.\n\n"},
    {4059, "", "7. Support. Questions about the extension go to its author. The maker of the application gives no\n"},
    {4060, "", "help with extensions that others made, and may change the application so that they stop working.\n\n"},
    {4061, "", "8. The end of the agreement. It ends when you remove the extension and delete your copies of it,\n"},
    {4062, "", "or when you break its terms. In the second case you are to remove the extension at once.\n\n"},
    {4063, "", "9. The rest. Should one of these terms be void, the others stay in force. Terms that the law of\n"},
    {4064, "", "your country gives you and that cannot be signed away remain yours.\n\n"},
    {4065, "", "By accepting you say that you have read these terms and agree with them.\n"},
    {4066, "s", "This path leads out of its folder (it holds \"..\"): %s."},
    {4067, "s", "A program is using a file that has to be changed:\r\n%s\r\nClose the program, then try again."},
    {4068, "s", "The folder token of this destination is not known: %s."},
    {4069, "", "The file is not an extension package."},
    {4070, "", "These products are needed, and were not found here:"},
    {4071, "s", " %s or later"},
    {4072, "", "The description lacks items that a package must have:"},
    {4073, "", "the name of the extension"},
    {4074, "", "its version"},
    {4075, "", "its type"},
    {4076, "", "a text that describes it"},
    {4077, "", "a text that tells where to find it in the application"},
    {4078, "", "the products that it is for"},
    {4079, "", "its author"},
    {4083, "s", "The file exists, and is as old as the one in the package:\r\n%s\r\nOverwrite it?"},
    {4084, "", "The description holds \"/ >\"; write \"/>\" without a blank."},
    {4086, "", "Part of the extension could not be put where its description asks."},
    {4087, "", "Look for it elsewhere in the application."},
    {4088, "", "A shortcut was left out: the configuration file has no shortcut list of the name that it gives."},
    {4089, "", "Server Model"},
    {4090, "", "Data Source"},
    {4091, "", "Server Behavior"},
    {4092, "", "Server Format"},
    {4093, "", "Restart the computer to finish the installation."},
    {4094, "", "Report"},
    {4095, "", "Marlin Button Style"},
    {4096, "", "There were several problems."},
    {4097, "", "The extension was installed all the same."},
    {4098, "", "A configuration file could not be changed."},
    {4099, "", "A configuration file that is to be changed is missing or stayed in use."},
    {4100, "", "The source format profile is not a text file that can be changed."},
    {4101, "", "One of the changes was left out."},
    {4102, "ss", "An element \"%1$s\" lacks its attribute \"%2$s\"."},
    {4103, "", "Snap Reel"},
    {4104, "", "Marlin Script"},
    {4105, "", "Lesson"},
    {4106, "", "Sample"},
    {4107, "", "Utility"},
    {4108, "", "The source format profile has no section of elements."},
    {4110, "", "An entry of the source format profile has no end."},
    {4111, "", "Library"},
    {4112, "", "Style"},
    {4113, "", "Texture"},
    {4114, "", "Modlet"},
    {4115, "", "Pattern"},
    {4117, "", "The map of transfer types is not a text file that can be changed."},
    {4118, "", "The list of file types is not a text file that can be changed."},
    {4119, "", "Packaging"},
    {4120, "", "No folder was chosen. Go on with the installation and choose one?"},
    {4121, "", "Importing"},
    {4122, "", "The extension was enabled. Restart the computer to finish."},
    {4123, "s", "The extension was enabled. Restart %s to use it."},
    {4124, "s", "The extension was disabled. Restart %s to finish."},
    {4125, "", "The extensions were imported. Restart the computer to finish."},
    {4126, "s", "The extensions were imported. Restart %s to use them."},
    {4127, "s", "Choose a folder: %s"},
    {4128, "", "Keyboard Shortcuts"},
    {4129, "", "Quarry Object"},
    {4130, "", "Publish Template"},
    {4131, "sd", "A file name is too long: %1$s. It may have %2$d characters at the most."},
    {4132, "", "The description marks more than one product as its primary one."},
    {4133, "", "The same extension is enabled already."},
    {4134, "", "Please read this agreement before the extensions are imported."},
    {4135, "",
     "A file has neither a file extension nor a win-extension, and is meant for every platform. No package was "
     "made."},
    {4136, "", "Installing"},
    {4138, "", "Removing"},
    {4139, "", "Marlin Template"},
    {4140, "", "Marlin Component"},
    {4141, "", "Marlin Panel"},
    {4142, "", "Marlin Custom Action"},
    {4143, "", "Marlin Importer"},
    {4144, "", "Tag Library"},
    {4145, "", "Tag Importer"},
    {4146, "", "Coloring Scheme"},
    {4147, "", "Code Hints"},
    {4148, "", "Document Type"},
    {4149, "", "Code Snippet"},
    {4150, "", "Site"},
    {4151, "", "Toolbar"},
    {4152, "", "Help Book"},
    {4153, "", "A document type could not be added or removed."},
    {4154, "", "A tag library could not be added or removed."},
    {4155, "", "A help book could not be added or removed."},
    {4156, "", "A toolbar could not be changed."},
    {4157, "", "The insert bar could not be changed."},
    {4158, "", "Connection"},
    {4159, "", "Sample Content"},
    {4160, "s", "You have no right to change a file that has to be changed."},
    {4161, "", "_Commands"},
    {4162, "", "Miscellaneous"},
    {4163, "", "The place that a menu asks for is not there, so it was put into the menu of miscellaneous commands."},
    {4164, "", "The place that a toolbar item asks for is not there, so it was put on the miscellaneous toolbar."},
    {4165, "",
     "The place that an insert bar item asks for is not there, so it was put into the miscellaneous category."},
    {4166, "", "The extension was not disabled."},
    {4167, "", "The extension was not enabled."},
    {4168, "", "The extension was not removed."},
    {4169, "", "The extension was enabled all the same."},
    {4170, "",
     "The extension is installed already: either for all users, or for one user alone. It cannot be replaced "
     "from here."},
    {4171, "",
     "Some users have copies of their own of this extension, which would hide the one that you install. Remove "
     "them?"},
    {4172, "", "A file path of the description leads out of its folder (it holds \"..\")."},
};

MessageSource* g_source = nullptr;

} // namespace

std::span<const MessageText> GetMessageTable() { return kMessages; }

const MessageText* FindMessage(int number) {
  const auto at = std::lower_bound(std::begin(kMessages), std::end(kMessages), number,
                                   [](const MessageText& row, int wanted) { return row.number < wanted; });
  return at != std::end(kMessages) && at->number == number ? at : nullptr;
}

void SetMessageSource(MessageSource* source) { g_source = source; }

bool LoadMessage(int number, CString& text) {
  text.clear();
  if (g_source && g_source->Load(number, text)) {
    return true;
  }
  const MessageText* row = FindMessage(number);
  text = row ? row->english : "";
  return row != nullptr;
}

CString LoadMessage(Message number) {
  CString text;
  LoadMessage(static_cast<int>(number), text);
  return text;
}

CString FormatMessage(Message number, std::initializer_list<text::Argument> arguments) {
  return text::Format(LoadMessage(number), arguments);
}

} // namespace kest
