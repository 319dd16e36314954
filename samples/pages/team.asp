<%@ Language=VBScript %>
<html>
<body>
<h2>Our team</h2>
<ul>
<li>Name: Tom Becker Phone: 555 0101 Email: tom.becker@northfield.example.net</li>
<li>Name: Priya Nair Phone: 555 0102 Email: priya.nair@northfield.example.net</li>
</ul>
<p>See also http://www.northfield.example.net/about and
<a href="mailto:jobs@northfield.example.net">jobs@northfield.example.net</a></p>
</body>
</html>
