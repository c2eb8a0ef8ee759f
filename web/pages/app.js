// Shows the address the page came from, so the user can type it on a phone.
document.addEventListener("DOMContentLoaded", function () {
  var origin = document.getElementById("origin");
  if (origin) origin.textContent = window.location.origin;
});
