// What the buttons of the House Style toolbar do.
var house = {
  letterhead: function () { tm.getDocumentDOM().insertObject('House/Letterhead.htm'); },
  imprint: function () { tm.getDocumentDOM().insertText('Marram and Daughters'); }
};
