{ The classes of the stream fixtures; the C++ tests declare the same ones. }
unit StreamClasses;

{$mode delphi}{$H+}

interface

uses Classes, SysUtils;

type
  TShade = (shLight, shDark, shNone);
  TShades = set of TShade;

  TPen = class(TPersistent)
  private
    FWidth: Integer;
    FShade: TShade;
  public
    constructor Create;
    procedure Assign(Source: TPersistent); override;
  published
    property Width: Integer read FWidth write FWidth default 1;
    property Shade: TShade read FShade write FShade default shLight;
  end;

  TPoint = class(TCollectionItem)
  private
    FX, FY: Integer;
  published
    property X: Integer read FX write FX default 0;
    property Y: Integer read FY write FY default 0;
  end;

  TLabelItem = class(TCollectionItem)
  private
    FText: string;
    FSize: Double;
  published
    property Text: string read FText write FText;
    property Size: Double read FSize write FSize;
  end;

  TDrawing = class(TComponent)
  private
    FCount: Integer;
    FBig: Int64;
    FFlag: Boolean;
    FMark: Char;
    FShade: TShade;
    FShades: TShades;
    FRatio: Double;
    FScale: Single;
    FPrice: Currency;
    FTitle: string;
    FOnClick: TNotifyEvent;
    FPen: TPen;
    FPoints, FLabels: TCollection;
    FBuddy: TDrawing;
  public
    Extra: Integer;
    Blob: string;
    Tags: TStringList;
    constructor Create(AOwner: TComponent); override;
    destructor Destroy; override;
    procedure GetChildren(Proc: TGetChildProc; Root: TComponent); override;
    procedure DefineProperties(Filer: TFiler); override;
    procedure ReadExtra(Reader: TReader);
    procedure WriteExtra(Writer: TWriter);
    procedure ReadTags(Reader: TReader);
    procedure WriteTags(Writer: TWriter);
    procedure ReadBlob(Stream: TStream);
    procedure WriteBlob(Stream: TStream);
    procedure SetPen(V: TPen);
    procedure SetPoints(V: TCollection);
    procedure SetLabels(V: TCollection);
  published
    procedure MainClick(Sender: TObject);
    property Count: Integer read FCount write FCount;
    property Big: Int64 read FBig write FBig;
    property Flag: Boolean read FFlag write FFlag default False;
    property Mark: Char read FMark write FMark default 'a';
    property Shade: TShade read FShade write FShade;
    property Shades: TShades read FShades write FShades default [];
    property Ratio: Double read FRatio write FRatio;
    property Scale: Single read FScale write FScale;
    property Price: Currency read FPrice write FPrice;
    property Title: string read FTitle write FTitle;
    property OnClick: TNotifyEvent read FOnClick write FOnClick;
    property Pen: TPen read FPen write SetPen;
    property Points: TCollection read FPoints write SetPoints;
    property Labels: TCollection read FLabels write SetLabels;
    property Buddy: TDrawing read FBuddy write FBuddy;
  end;

implementation

constructor TPen.Create;
begin
  FWidth := 1;
end;

procedure TPen.Assign(Source: TPersistent);
begin
  if Source is TPen then
  begin
    FWidth := TPen(Source).FWidth;
    FShade := TPen(Source).FShade;
  end
  else
    inherited Assign(Source);
end;

constructor TDrawing.Create(AOwner: TComponent);
begin
  inherited Create(AOwner);
  FMark := 'a';
  FPen := TPen.Create;
  FPoints := TCollection.Create(TPoint);
  FLabels := TCollection.Create(TLabelItem);
  Tags := TStringList.Create;
end;

destructor TDrawing.Destroy;
begin
  FPen.Free;
  FPoints.Free;
  FLabels.Free;
  Tags.Free;
  inherited Destroy;
end;

procedure TDrawing.MainClick(Sender: TObject);
begin
end;

procedure TDrawing.GetChildren(Proc: TGetChildProc; Root: TComponent);
var
  I: Integer;
begin
  if Root = Self then
    for I := 0 to ComponentCount - 1 do
      Proc(Components[I]);
end;

procedure TDrawing.DefineProperties(Filer: TFiler);
begin
  inherited DefineProperties(Filer);
  Filer.DefineProperty('Extra', ReadExtra, WriteExtra, Extra <> 0);
  Filer.DefineProperty('Tags', ReadTags, WriteTags, Tags.Count > 0);
  Filer.DefineBinaryProperty('Blob', ReadBlob, WriteBlob, Blob <> '');
end;

procedure TDrawing.ReadExtra(Reader: TReader);
begin
  Extra := Reader.ReadInteger;
end;

procedure TDrawing.WriteExtra(Writer: TWriter);
begin
  Writer.WriteInteger(Extra);
end;

procedure TDrawing.ReadTags(Reader: TReader);
begin
  Tags.Clear;
  Reader.ReadListBegin;
  while not Reader.EndOfList do
    Tags.Add(Reader.ReadString);
  Reader.ReadListEnd;
end;

procedure TDrawing.WriteTags(Writer: TWriter);
var
  I: Integer;
begin
  Writer.WriteListBegin;
  for I := 0 to Tags.Count - 1 do
    Writer.WriteString(Tags[I]);
  Writer.WriteListEnd;
end;

procedure TDrawing.ReadBlob(Stream: TStream);
begin
  SetLength(Blob, Stream.Size);
  if Stream.Size > 0 then
    Stream.ReadBuffer(Blob[1], Stream.Size);
end;

procedure TDrawing.WriteBlob(Stream: TStream);
begin
  Stream.WriteBuffer(Blob[1], Length(Blob));
end;

procedure TDrawing.SetPen(V: TPen);
begin
  FPen.Assign(V);
end;

procedure TDrawing.SetPoints(V: TCollection);
begin
  FPoints.Assign(V);
end;

procedure TDrawing.SetLabels(V: TCollection);
begin
  FLabels.Assign(V);
end;

initialization
  RegisterClass(TDrawing);
end.
