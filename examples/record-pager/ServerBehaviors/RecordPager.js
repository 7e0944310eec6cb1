// Reads and writes the paging block of a page.

function findServerBehaviors() {
  return tm.findBlocks("record-pager");
}

function applyServerBehavior(form) {
  tm.insertBlock("record-pager", { recordset: form.recordset.value, size: form.size.value });
}
