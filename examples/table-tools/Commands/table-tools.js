// The dialog of Table Tools. The editor calls commandButtons() to learn which buttons to show.

function commandButtons() {
  return ["Apply", "applyStripes()", "Close", "window.close()"];
}

function canAcceptCommand() {
  return selectedTable() !== null;
}

function showSelection() {
  var table = selectedTable();
  document.getElementById("selection").innerHTML =
    table ? table.rows.length + " rows are selected." : "No table is selected.";
}

function applyStripes() {
  var form = document.forms.rows;
  stripe(selectedTable(), parseInt(form.every.value, 10) || 2, form.head.checked);
}
