#pragma once

namespace kest::host {

class Session;

// One for each row of the command table. The result is the exit code.
int RunMachineNew(Session& session);
int RunMachineShow(Session& session);
int RunMachineStart(Session& session);
int RunMachineStop(Session& session);
int RunMachineUser(Session& session);
int RunMachineLogon(Session& session);
int RunProducts(Session& session);
int RunList(Session& session);
int RunInfo(Session& session);
int RunInstall(Session& session);
int RunUninstall(Session& session);
int RunDisable(Session& session);
int RunEnable(Session& session);
int RunPack(Session& session);
int RunImport(Session& session);
int RunValidate(Session& session);
int RunExplain(Session& session);
int RunOwns(Session& session);
int RunVerify(Session& session);
int RunRepair(Session& session);
int RunHistory(Session& session);
int RunUndo(Session& session);
int RunTrash(Session& session);
int RunTrashEmpty(Session& session);
int RunRecover(Session& session);
int RunHelp(Session& session);
int RunCompletion(Session& session);

} // namespace kest::host
