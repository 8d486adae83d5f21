namespace rix {}
