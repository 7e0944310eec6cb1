# Doxygen's input filter. Says, where a header need not: what a plain accessor does (one whose body, there on its line,
# reads or sets one member), and that a form of an operation beside a documented one means the same. Line numbers stay.
function stem(name) { sub(/^(Get|Set|Is|Has|Append)/, "", name); return name }

/^ *\/\/\// { pending = 1; print; next }
/^ *(\[\[nodiscard\]\] )?[A-Za-z_].*\(.*[;}] *(\/\/.*)?$/ {
  line = $0
  documented = pending || line ~ /\/\/\/</
  name = line
  sub(/ *\/\/.*$/, "", name)
  body = name
  sub(/\(.*$/, "", name)
  sub(/^.*[ *&~]/, "", name)
  if (!documented && body ~ /\{ (return \*?m_[A-Za-z]+(\.get\(\))?;|m_[A-Za-z]+ \+?= [A-Za-z]+;|[A-Za-z]+ = m_[A-Za-z]+;) \}$/) {
    line = line " ///< Plain accessor: cannot fail; what it hands out by reference is borrowed, good until the object changes."
    documented = 1
  } else if (!documented && body ~ /\{ (return Whole\(\)\.m_[A-Za-z]+;|[A-Za-z]+ = Get[A-Za-z]+\(\);) \}$/) {
    line = line " ///< Reads the description when that is still to be done; empty when it cannot, see ReadRest. What it hands out by reference is borrowed."
    documented = 1
  } else if (!documented && body ~ /\{ (return )?Changed\(\)\.m_[A-Za-z]+( \+?= .*)?; \}$/) {
    line = line " ///< For a change: the record may say something else than its file from then on."
    documented = 1
  } else if (!documented && before && stem(name) == previous) {
    line = line " ///< As the form above."
    documented = 1
  }
  previous = stem(name)
  before = documented
  pending = 0
  print line
  next
}
{ pending = 0; if ($0 !~ /^ /) before = 0; print }
