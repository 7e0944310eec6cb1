#pragma once

// All that a host needs: the engine, its products and extensions, a machine to work on, and texts to and from UTF-8.
#include "description/extension.h"
#include "description/extension_records.h"
#include "kest/version.h"
#include "manager/extension_manager.h"
#include "manager/install_options.h"
#include "manager/operation_report.h"
#include "manager/validation.h"
#include "platform/machine/os.h"
#include "platform/machine_folder/machine_folder.h"
#include "platform/messages/extension_manager_ui.h"
#include "platform/messages/message_file.h"
#include "platform/messages/messages.h"
#include "platform/package/package.h"
#include "platform/text/path.h"
#include "platform/text/utf8.h"
#include "products/product.h"
