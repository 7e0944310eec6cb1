// What several table commands share.

function selectedTable() {
  var node = tm.getSelectedNode();
  while (node && node.tagName !== "TABLE") {
    node = node.parentNode;
  }
  return node;
}

function stripe(table, every, hasHeading) {
  for (var i = hasHeading ? 1 : 0; i < table.rows.length; i++) {
    table.rows[i].className = i % every === 0 ? "stripe" : "";
  }
}
