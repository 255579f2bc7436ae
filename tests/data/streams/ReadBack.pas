{ Reads a binary component stream written elsewhere and prints the fields
  the C++ test sets, one per line, for the test to compare. }
program ReadBack;

{$mode delphi}{$H+}

uses Classes, SysUtils, StreamClasses;

var
  S: TFileStream;
  D: TDrawing;
  C: TDrawing;
begin
  S := TFileStream.Create(ParamStr(1), fmOpenRead);
  try
    D := TDrawing(S.ReadComponent(nil));
  finally
    S.Free;
  end;
  WriteLn('Name=', D.Name);
  WriteLn('Count=', D.Count);
  WriteLn('Big=', D.Big);
  WriteLn('Flag=', D.Flag);
  WriteLn('Mark=', D.Mark);
  WriteLn('Shade=', Ord(D.Shade));
  WriteLn('Ratio=', D.Ratio:0:4);
  WriteLn('Price=', D.Price:0:4);
  WriteLn('Title=', D.Title);
  WriteLn('Pen=', D.Pen.Width);
  WriteLn('Points=', D.Points.Count, ' ', TPoint(D.Points.Items[0]).Y);
  WriteLn('Label=', TLabelItem(D.Labels.Items[0]).Text);
  WriteLn('Extra=', D.Extra);
  WriteLn('Tags=', D.Tags.CommaText);
  WriteLn('Blob=', Length(D.Blob));
  C := TDrawing(D.Components[0]);
  WriteLn('Child=', C.Name, ' ', C.Count, ' ', C.Buddy = D, ' ', D.Buddy = C);
  D.Free;
end.
