#pragma once

// Every kind of step. A file that uses one kind alone includes that kind's header.
#include "journal/catalogue_steps.h"
#include "journal/copy_steps.h"
#include "journal/delete_steps.h"
#include "journal/folder_steps.h"
#include "journal/font_step.h"
#include "journal/private_steps.h"
#include "journal/whole_folder_steps.h"
